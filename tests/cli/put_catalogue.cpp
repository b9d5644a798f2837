// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Puts records into the host's catalogue that "quorctl apply" would refuse, by the library's own
// calls. Standard input has one record per line, each text as "x" and hexadecimal digits:
//   policy ID NAME DESCRIPTION GENERATION [NAMESPACE BLOB]...
//   datastore URL NAMESPACE DEFAULTPOLICY
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "quor/quor_lib.h"

namespace {

using TavQuor::QuorLib;

std::string BytesOf(const std::string& word) {
  std::string bytes;
  for (std::size_t i = 1; i + 1 < word.size(); i += 2)
    bytes += static_cast<char>(std::stoi(word.substr(i, 2), nullptr, 16));
  return bytes;
}

bool Read(std::istream& line, std::string* bytes) {
  std::string word;
  if (!(line >> word)) return false;
  *bytes = BytesOf(word);
  return true;
}

TavQuor::QuorPolicyInfo ReadPolicy(std::istream& line) {
  TavQuor::QuorPolicyInfo policy;
  Read(line, &policy.policyId);
  Read(line, &policy.name);
  Read(line, &policy.description);
  line >> policy.generationNumber;
  std::string blobNamespace;
  std::string blob;
  while (Read(line, &blobNamespace) && Read(line, &blob))
    policy.blobs.emplace_back(blob, blobNamespace);
  return policy;
}

TavQuor::QuorDatastoreInfo ReadDatastore(std::istream& line) {
  TavQuor::QuorDatastoreInfo datastore;
  Read(line, &datastore.url);
  Read(line, &datastore.datastoreNamespace);
  Read(line, &datastore.defaultPolicyId);
  return datastore;
}

}  // namespace

int main() {
  std::vector<TavQuor::QuorPolicyInfo> policies;
  std::vector<TavQuor::QuorDatastoreInfo> datastores;
  for (std::string text; std::getline(std::cin, text);) {
    std::istringstream line(text);
    std::string kind;
    line >> kind;
    if (kind == "policy") {
      policies.push_back(ReadPolicy(line));
    } else {
      datastores.push_back(ReadDatastore(line));
    }
  }
  QuorLib::AddPolicyInfo(policies);
  QuorLib::AddDatastoreInfo(datastores);
}
