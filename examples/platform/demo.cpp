// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Pushes a policy and a datastore and asks for them, all in one process, since that is where the
// example platform keeps its records. Exits with 1 when an answer is not what was pushed.
#include <quor/quor_lib.h>

#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

bool Expect(const std::string& what, const std::string& found, const std::string& wanted) {
  std::cout << what << ": " << found << '\n';
  if (found == wanted) return true;
  std::cerr << what << " should be " << wanted << '\n';
  return false;
}

// Any bytes, NUL among them.
std::string Bytes() {
  std::string bytes(1, '\0');
  for (int value = 255; value >= 0; --value)
    bytes.push_back(static_cast<char>(value));
  return bytes;
}

void Push() {
  QuorPolicyInfo policy;
  policy.policyId = "gold-01";
  policy.name = "Gold";
  policy.generationNumber = 7;
  policy.blobs.emplace_back("three copies", "RILK");
  policy.blobs.emplace_back(Bytes(), "VOLB");
  QuorDatastoreInfo datastore;
  datastore.url = "ds:///shares/mail/";
  datastore.datastoreNamespace = "RILK";
  datastore.defaultPolicyId = "gold-01";
  QuorDatastoreInfo volume;
  volume.url = "ds:///volumes/a1/";
  volume.datastoreNamespace = "VOLB";
  QuorLib::AddPolicyInfo(std::vector<QuorPolicyInfo>(1, policy));
  QuorLib::AddDatastoreInfo({datastore, volume});
}

bool Ask() {
  const std::vector<QuorPolicyInfo> policies = QuorLib::ListPolicyInfo();
  const std::pair<std::string, std::string> digests = QuorLib::GetDbHash();
  const std::string bytes = QuorLib::GetPolicyBlobById("gold-01", "ds:///volumes/a1/");
  return Expect("policies", std::to_string(policies.size()), "1") &&
         Expect("generation", std::to_string(policies.front().generationNumber), "7") &&
         Expect("by name", QuorLib::GetRilkPolicyBlobByName("Gold"), "three copies") &&
         Expect("by datastore", QuorLib::GetDefaultPolicyBlob("ds:///shares/mail/"),
                "three copies") &&
         Expect("bytes", bytes == Bytes() ? "as they were" : "others", "as they were") &&
         Expect("unknown", QuorLib::GetRilkPolicyBlobByName("Silver"), "") &&
         Expect("digits", std::to_string(digests.first.size() + digests.second.size()), "64");
}

}  // namespace

int main() {
  try {
    Push();
    if (!Ask()) return 1;
    QuorLib::Reset();
    return QuorLib::ListPolicyInfo().empty() ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "demo: " << error.what() << '\n';
    return 1;
  }
}
