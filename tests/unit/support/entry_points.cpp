// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/entry_points.h"

#include <sstream>

#include "support/catalogue.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

template <typename Record>
std::string AsText(const std::vector<Record>& records) {
  std::ostringstream text;
  for (const Record& record : records)
    PrintTo(record, &text);
  return text.str();
}

}  // namespace

std::vector<EntryPoint> AllEntryPoints() {
  return {
      {"Reset",
       [] {
         QuorLib::Reset();
         return std::string();
       }},
      {"AddPolicyInfo",
       [] {
         QuorLib::AddPolicyInfo({Policy("new", "id-9", "", 1, {{"N", "RILK"}})});
         return std::string();
       }},
      {"AddDatastoreInfo",
       [] {
         QuorLib::AddDatastoreInfo({Datastore("ds:///new", "RILK", "id-9")});
         return std::string();
       }},
      {"ListPolicyInfo", [] { return AsText(QuorLib::ListPolicyInfo()); }},
      {"ListDatastoreInfo", [] { return AsText(QuorLib::ListDatastoreInfo()); }},
      {"GetRilkPolicyBlobById", [] { return QuorLib::GetRilkPolicyBlobById("id-1"); }},
      {"GetRilkPolicyBlobByName", [] { return QuorLib::GetRilkPolicyBlobByName("gold"); }},
      {"GetDefaultPolicyBlob", [] { return QuorLib::GetDefaultPolicyBlob("ds:///a"); }},
      {"GetPolicyBlobById", [] { return QuorLib::GetPolicyBlobById("id-2", "ds:///a"); }},
      {"GetDbHash",
       [] {
         const auto [policies, datastores] = QuorLib::GetDbHash();
         return policies + " " + datastores;
       }},
  };
}

}  // namespace QuorTest
