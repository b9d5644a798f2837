// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// System calls of lookups in what the process has read before.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "catalogue_sets.h"
#include "faults/trapped_calls.h"
#include "platform/admin.h"
#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "support/child_process.h"
#include "support/host_test.h"

namespace StressTest {
namespace {

using namespace std::chrono_literals;
using TavQuor::QuorLib;
using Clock = std::chrono::steady_clock;

constexpr int kCalls = 10'000;
constexpr int kSet = 1;
constexpr int kCallsOfALook = 3;  // the notice, the store's file, now and then the switches

constexpr int kCallsOfASession = 8;

struct Lookup {
  const char* name;
  std::function<void()> call;
  int sessions = 1;  // of the configuration file
};

const std::vector<Lookup>& Lookups() {
  static const std::vector<Lookup> lookups = {
      {"blob by name", [] { QuorLib::GetRilkPolicyBlobByName(PolicyName(0)); }},
      {"blob by a name that is not there", [] { QuorLib::GetRilkPolicyBlobByName("none"); }},
      {"blob by identifier", [] { QuorLib::GetRilkPolicyBlobById(PolicyId(1)); }},
      {"blob by identifier and datastore", [] { QuorLib::GetPolicyBlobById(PolicyId(1), Url(0)); },
       2},
      {"default blob", [] { QuorLib::GetDefaultPolicyBlob(Url(0)); }, 3},
      {"policies", [] { QuorLib::ListPolicyInfo(); }},
      {"datastores", [] { QuorLib::ListDatastoreInfo(); }},
      {"digests", [] { QuorLib::GetDbHash(); }, 2},
  };
  return lookups;
}

// How many system calls were made, and the most ticks of the clock that went by.
struct Counted {
  int calls = 0;
  long ticks = 0;
};

Counted Count(const std::function<void()>& call) {
  for (int i = 0; i < kCalls / 10; ++i)
    call();
  const auto start = Clock::now();
  PlatformTest::WatchCalls({});
  for (int i = 0; i < kCalls; ++i)
    call();
  const int calls = PlatformTest::StopWatchingCalls().made;
  const std::chrono::duration<double> time = Clock::now() - start;
  struct timespec tick = {};
  clock_getres(CLOCK_MONOTONIC_COARSE, &tick);
  return {calls, static_cast<long>(time.count() * 1e9 / static_cast<double>(tick.tv_nsec)) + 2};
}

class WarmCalls : public PlatformTest::HostTest {
 protected:
  WarmCalls() {
    QuorLib::AddPolicyInfo(PoliciesOf(kSet));
    QuorLib::AddDatastoreInfo(DatastoresOf(kSet));
    std::this_thread::sleep_for(120ms);
  }
};

TEST_F(WarmCalls, MakeNoSystemCallButOneLookInEachTickOfTheClock) {
  PlatformTest::RunInChild([] {
    PlatformTest::TrapSystemCalls();
    for (const Lookup& lookup : Lookups()) {
      const Counted counted = Count(lookup.call);
      EXPECT_LE(counted.calls, kCallsOfALook * counted.ticks) << lookup.name;
    }
  });
}

TEST_F(WarmCalls, LookEachTimeWhileAWriterIsAboutToCommit) {
  PlatformTest::WriteFile(PathOf(".config-store.changing"), "");
  PlatformTest::RunInChild([] {
    PlatformTest::TrapSystemCalls();
    EXPECT_GE(Count(Lookups().front().call).calls, kCalls);
  });
}

// Those of the configuration file: of the lock its opening, status, two bytes, one of them given
// back, the other too, its closing; and a look at the file and at the switches.
TEST_F(WarmCalls, MakeFewInEachSessionOfTheConfigurationFile) {
  HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, false);
  QuorLib::AddPolicyInfo(PoliciesOf(kSet));
  QuorLib::AddDatastoreInfo(DatastoresOf(kSet));
  std::this_thread::sleep_for(120ms);
  PlatformTest::RunInChild([] {
    PlatformTest::TrapSystemCalls();
    for (const Lookup& lookup : Lookups())
      EXPECT_LE(Count(lookup.call).calls, kCallsOfASession * lookup.sessions * kCalls)
          << lookup.name;
  });
}

}  // namespace
}  // namespace StressTest
