// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Pushes a catalogue of two policies and two datastores to the host.
//
//   push_catalogue
//
// Each of the two calls replaces everything of its kind, durably and all at once; what was there
// before is gone. Needs the right to write to the host directory, /var/lib/quor or QUOR_HOST_DIR.
#include <quor/quor_lib.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

QuorPolicyInfo MakePolicy(const std::string& id, const std::string& name, int copies) {
  QuorPolicyInfo policy;
  policy.policyId = id;
  policy.name = name;
  policy.description = std::to_string(copies) + " copies";
  policy.generationNumber = 1;
  // The blob first, then the namespace that it is for. A blob may hold any bytes.
  policy.blobs.emplace_back("<rules copies=\"" + std::to_string(copies) + "\"/>", "RILK");
  policy.blobs.emplace_back(std::string("VOLB\0\1", 6) + static_cast<char>(copies), "VOLB");
  return policy;
}

QuorDatastoreInfo MakeDatastore(const std::string& url, const std::string& itsNamespace,
                                const std::string& defaultPolicyId) {
  QuorDatastoreInfo datastore;
  datastore.url = url;
  datastore.datastoreNamespace = itsNamespace;
  datastore.defaultPolicyId = defaultPolicyId;
  return datastore;
}

}  // namespace

int main() {
  const std::vector<QuorPolicyInfo> policies = {MakePolicy("gold-01", "Gold", 3),
                                                MakePolicy("silver-01", "Silver", 2)};
  const std::vector<QuorDatastoreInfo> datastores = {
      MakeDatastore("ds:///shares/mail/", "RILK", "gold-01"),
      MakeDatastore("ds:///volumes/a1/", "VOLB", "silver-01")};
  try {
    // Policies first: a datastore never names a policy that is not there yet.
    QuorLib::AddPolicyInfo(policies);
    QuorLib::AddDatastoreInfo(datastores);
  } catch (const std::exception& error) {
    std::cerr << "push_catalogue: " << error.what() << '\n';
    return 1;
  }
  std::cout << "pushed " << policies.size() << " policies and " << datastores.size()
            << " datastores\n";
  return 0;
}
