// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A program of somebody else: C++11, linked with libquor alone.
//
// It takes the address of every entry point, so that one that is not exported breaks its build,
// and asks for something on a host where nothing was ever written. Exits with 1 when an answer is
// not the documented one.
#include <string>
#include <utility>
#include <vector>

#include "quor/quor_lib.h"

#if __cplusplus >= 201402L
#error "this program is there to show that C++11 is enough"
#endif

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

namespace {

struct EntryPoints {
  void (*init)();
  void (*reset)();
  void (*addPolicyInfo)(const std::vector<QuorPolicyInfo>&);
  void (*addDatastoreInfo)(const std::vector<QuorDatastoreInfo>&);
  std::vector<QuorDatastoreInfo> (*listDatastoreInfo)();
  std::vector<QuorPolicyInfo> (*listPolicyInfo)();
  std::string (*getRilkPolicyBlobById)(const std::string&);
  std::string (*getRilkPolicyBlobByName)(const std::string&);
  std::string (*getDefaultPolicyBlob)(const std::string&);
  std::string (*getPolicyBlobById)(const std::string&, const std::string&);
  std::pair<std::string, std::string> (*getDbHash)();
};

// Volatile: the calls go through these addresses and the linker must provide each.
const volatile EntryPoints kEntryPoints = {
    &QuorLib::Init,
    &QuorLib::Reset,
    &QuorLib::AddPolicyInfo,
    &QuorLib::AddDatastoreInfo,
    &QuorLib::ListDatastoreInfo,
    &QuorLib::ListPolicyInfo,
    &QuorLib::GetRilkPolicyBlobById,
    &QuorLib::GetRilkPolicyBlobByName,
    &QuorLib::GetDefaultPolicyBlob,
    &QuorLib::GetPolicyBlobById,
    &QuorLib::GetDbHash,
};

bool EveryQuestionIsAnsweredWithNothing() {
  const std::pair<std::string, std::string> digests = kEntryPoints.getDbHash();
  return kEntryPoints.listPolicyInfo().empty() && kEntryPoints.listDatastoreInfo().empty() &&
         kEntryPoints.getRilkPolicyBlobById("gold-01").empty() &&
         kEntryPoints.getRilkPolicyBlobByName("Gold").empty() &&
         kEntryPoints.getDefaultPolicyBlob("ds:///volumes/a1/").empty() &&
         kEntryPoints.getPolicyBlobById("gold-01", "ds:///volumes/a1/").empty() &&
         digests.first.empty() && digests.second.empty();
}

}  // namespace

int main() {
  kEntryPoints.init();
  const bool all = kEntryPoints.reset != nullptr && kEntryPoints.addPolicyInfo != nullptr &&
                   kEntryPoints.addDatastoreInfo != nullptr;
  return all && EveryQuestionIsAnsweredWithNothing() ? 0 : 1;
}
