// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How the entry points read the feature switch.
#include <gtest/gtest.h>

#include <functional>

#include "configfile/backend.h"
#include "configstore/backend.h"
#include "quor/quor_lib.h"
#include "seam/host.h"

namespace {

using Policies = std::vector<TavQuor::QuorPolicyInfo>;
using Datastores = std::vector<TavQuor::QuorDatastoreInfo>;

void Log(const char* backend) {
  Seam::log.emplace_back(backend);
}

// Logs its name for every primitive, and finds something wherever it is asked.
template <const char* Name>
constexpr TavQuor::Backend LoggingBackend() {
  return {
      [] { Log(Name); },
      [] { Log(Name); },
      [](const Policies&) { Log(Name); },
      [](const Datastores&) { Log(Name); },
      [] { return Log(Name), Policies(); },
      [] { return Log(Name), Datastores(); },
      [](const std::string&, const std::string&) { return Log(Name), std::string("blob"); },
      [](const std::string&, const std::string&) { return Log(Name), std::string("blob"); },
      [](const std::string&) { return Log(Name), std::string("namespace"); },
      [](const std::string&) { return Log(Name), std::string("id"); },
      [] { return Log(Name), std::string("digest"); },
      [] { return Log(Name), std::string("digest"); },
  };
}

constexpr char kStore[] = "store";
constexpr char kFile[] = "file";

}  // namespace

const TavQuor::Backend TavQuor::ConfigStoreBackend::kBackend = LoggingBackend<kStore>();
const TavQuor::Backend TavQuor::ConfigFileBackend::kBackend = LoggingBackend<kFile>();

namespace Seam {
namespace {

using TavQuor::QuorLib;

TEST(Switch, IsLookedUpAndLoadedOnceAtTheStartOfEveryCall) {
  const std::vector<std::pair<std::function<void()>, std::size_t>> calls = {
      {[] { QuorLib::Init(); }, 1},
      {[] { QuorLib::Reset(); }, 1},
      {[] { QuorLib::AddPolicyInfo({}); }, 1},
      {[] { QuorLib::AddDatastoreInfo({}); }, 1},
      {[] { QuorLib::ListDatastoreInfo(); }, 1},
      {[] { QuorLib::ListPolicyInfo(); }, 1},
      {[] { QuorLib::GetRilkPolicyBlobById("id"); }, 1},
      {[] { QuorLib::GetRilkPolicyBlobByName("name"); }, 1},
      {[] { QuorLib::GetDefaultPolicyBlob("url"); }, 3},
      {[] { QuorLib::GetPolicyBlobById("id", "url"); }, 2},
      {[] { QuorLib::GetDbHash(); }, 2},
  };
  for (const bool isStore : {true, false}) {
    switchValue = isStore ? 1 : 0;
    for (const auto& [call, primitives] : calls) {
      Lines expected = {"entry 62", "load"};
      expected.insert(expected.end(), primitives, isStore ? kStore : kFile);
      EXPECT_EQ(LogOf(call), expected);
    }
  }
}

}  // namespace
}  // namespace Seam
