// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Writes a catalogue to the host, or checks that the host holds it.
//
//   golden_program write
//   golden_program check      exit status 1, and what differs, when it does not
//   golden_program digests    prints the two digests, one in a line
//
// What is written is kept as files in golden/: later versions read what this one wrote. The
// catalogue is never changed for that reason; a new case is a new one with a directory of its own.
#include <cstdint>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "quor/quor_lib.h"

namespace {

using namespace std::string_literals;
using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

std::string EveryByte() {
  std::string bytes;
  for (int value = 0; value < 256; ++value)
    bytes.push_back(static_cast<char>(value));
  return bytes;
}

QuorPolicyInfo Policy(const std::string& id, const std::string& name, std::int64_t generation) {
  QuorPolicyInfo policy;
  policy.policyId = id;
  policy.name = name;
  policy.description = "Description of " + name;
  policy.generationNumber = generation;
  return policy;
}

std::vector<QuorPolicyInfo> Policies() {
  QuorPolicyInfo gold = Policy("gold-01", "Gold", 41);
  gold.blobs = {{"<rules copies=\"3\"/>", "RILK"}, {EveryByte(), "VOLB"}, {"", "EMPTY"}};
  QuorPolicyInfo words = Policy("worte", "Größe \"ß\" \\ / \t\n €", 0);
  words.blobs = {{std::string(70000, 'x'), "RILK"}};
  QuorPolicyInfo bytes = Policy("id \0 \xff"s, "\0\x80 no text"s, -7);
  bytes.description = EveryByte();
  bytes.blobs = {{"blob", "\0\xfe"s}, {"\0"s, "3:tav,7:storage,"}};
  const QuorPolicyInfo bare = Policy("", "base64:R29sZA==", 2147483647);
  return {gold, words, bytes, bare};
}

std::vector<QuorDatastoreInfo> Datastores() {
  QuorDatastoreInfo mail;
  mail.url = "ds:///shares/mail/";
  mail.datastoreNamespace = "RILK";
  mail.defaultPolicyId = "gold-01";
  QuorDatastoreInfo bytes;
  bytes.url = EveryByte();
  bytes.datastoreNamespace = "\0\xfe"s;
  bytes.defaultPolicyId = "id \0 \xff"s;
  QuorDatastoreInfo bare;
  return {mail, bytes, bare};
}

bool Same(const QuorPolicyInfo& a, const QuorPolicyInfo& b) {
  return a.blobs == b.blobs && a.name == b.name && a.policyId == b.policyId &&
         a.description == b.description && a.generationNumber == b.generationNumber;
}
bool Same(const QuorDatastoreInfo& a, const QuorDatastoreInfo& b) {
  return a.url == b.url && a.datastoreNamespace == b.datastoreNamespace &&
         a.defaultPolicyId == b.defaultPolicyId;
}

template <typename Record>
bool CheckList(const char* kind, const std::vector<Record>& found,
               const std::vector<Record>& wanted) {
  if (found.size() != wanted.size()) {
    std::cout << kind << ": " << found.size() << " and not " << wanted.size() << '\n';
    return false;
  }
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (Same(found[i], wanted[i])) continue;
    std::cout << kind << ": number " << i << " differs\n";
    return false;
  }
  return true;
}

bool CheckAnswer(const char* question, const std::string& found, const std::string& wanted) {
  if (found == wanted) return true;
  std::cout << question << ": another answer\n";
  return false;
}

bool Check() {
  return CheckList("policies", QuorLib::ListPolicyInfo(), Policies()) &&
         CheckList("datastores", QuorLib::ListDatastoreInfo(), Datastores()) &&
         CheckAnswer("by name", QuorLib::GetRilkPolicyBlobByName("Größe \"ß\" \\ / \t\n €"),
                     std::string(70000, 'x')) &&
         CheckAnswer("by identifier", QuorLib::GetRilkPolicyBlobById("gold-01"),
                     "<rules copies=\"3\"/>") &&
         CheckAnswer("of a datastore", QuorLib::GetDefaultPolicyBlob(EveryByte()), "blob");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view mode = argc == 2 ? argv[1] : "";
  if (mode == "write") {
    QuorLib::AddPolicyInfo(Policies());
    QuorLib::AddDatastoreInfo(Datastores());
    return 0;
  }
  if (mode == "digests") {
    const auto digests = QuorLib::GetDbHash();
    std::cout << digests.first << '\n' << digests.second << '\n';
    return 0;
  }
  if (mode == "check") return Check() ? 0 : 1;
  std::cerr << "usage: golden_program write|check|digests\n";
  return 2;
}
