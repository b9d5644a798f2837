// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Threads of one process make all calls at once on both backends, while the switch between them is
// flipped. Meant for the thread sanitizer; each answer is checked in every build.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "history.h"
#include "pauses.h"
#include "platform/admin.h"
#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "support/host_test.h"
#include "support/random.h"

namespace StressTest {
namespace {

using TavQuor::QuorLib;

constexpr int kThreads = 6;
#ifdef __SANITIZE_THREAD__
constexpr int kRounds = 1500;  // calls of each thread
#else
constexpr int kRounds = 500;
#endif

class Threads : public PlatformTest::HostTest {
 protected:
  Threads() {
    HostPlatform::UseLockTimeout(120'000);
    UseBackend(false);
    QuorLib::Reset();
    UseBackend(true);
    digests_ = std::make_unique<Digests>();
    QuorLib::Reset();
    written_[0] = true;
  }

  static void UseBackend(bool store) {
    HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, store);
  }

  void RunAtOnce(std::uint64_t seed) {
    std::vector<std::thread> callers(kThreads);
    for (std::thread& caller : callers)
      caller = std::thread([this, own = seed++] { MakeCalls(own); });
    std::thread flipper([this] { FlipUntilFinished(); });
    std::thread administrator([this] { AdministerUntilFinished(); });
    for (std::thread& caller : callers)
      caller.join();
    finished_ = true;
    flipper.join();
    administrator.join();
  }

  // One of the states that somebody has begun to write, in either backend.
  void ExpectWritten(int set) const {
    EXPECT_TRUE(written_.at(static_cast<std::size_t>(set))) << "set " << set;
  }

  std::array<std::atomic<int>, 10> callsOfKind_{};
  std::atomic<int> flips_{0};
  std::atomic<int> administrations_{0};

 private:
  void MakeCalls(std::uint64_t seed) {
    PauseInCalls(seed);
    PlatformTest::Random random(seed);
    for (int i = 0; i < kRounds && !HasFailure(); ++i) {
      QuorLib::Init();
      Operation operation = AnyCall(&random);
      operation.set = nextSet_++ % (kSets / 2) + 1;  // the others are never written
      if (operation.call == Call::kReplacePolicies || operation.call == Call::kReplaceDatastores) {
        written_.at(static_cast<std::size_t>(operation.set)) = true;
      }
      ASSERT_NO_THROW(MakeCall(*digests_, &operation));
      ASSERT_EQ(operation.ending, Ending::kReturned) << "nobody holds a lock for that long";
      ++callsOfKind_.at(static_cast<std::size_t>(operation.call));
      CheckAnswer(operation);
    }
  }

  void CheckAnswer(const Operation& operation) const {
    switch (operation.call) {
      case Call::kDigests:
        ExpectWritten(operation.secondAnswer);
        ExpectWritten(operation.answer);
        break;
      case Call::kListPolicies:
      case Call::kListDatastores:
        ExpectWritten(operation.answer);
        break;
      default:
        ExpectWritten(SetOfBlob(operation.answer));
    }
  }

  void FlipUntilFinished() {
    for (bool store = false; !finished_; store = !store) {
      ASSERT_NO_THROW(UseBackend(store));
      ++flips_;
    }
  }

  void AdministerUntilFinished() {
    while (!finished_) {
      const HostPlatform::FeatureState state =
          HostPlatform::GetFeature(kFeatureQuorUsesConfigStore);
      EXPECT_TRUE(state.mapped) << state.problem;
      EXPECT_EQ(HostPlatform::GetConfigStoreState().problem, "");
      EXPECT_EQ(HostPlatform::GetConfigFileState().problem, "");
      for (const HostPlatform::LockState& lock : HostPlatform::GetLockStates())
        EXPECT_EQ(lock.problem, "");
      HostPlatform::UseLockTimeout(HostPlatform::LockTimeout());
      EXPECT_EQ(HostPlatform::HostDirectory(), HostPath());
      ++administrations_;
    }
  }

  std::unique_ptr<Digests> digests_;
  std::array<std::atomic<bool>, kSets + 1> written_{};
  std::atomic<int> nextSet_{0};
  std::atomic<bool> finished_{false};
};

TEST_F(Threads, InAllCallsAtOnceReadWhatWasWrittenWhileTheSwitchIsFlipped) {
  RunAtOnce(PlatformTest::SeedOfThisRun());
  ASSERT_FALSE(HasFailure());
  for (std::size_t call = 0; call < callsOfKind_.size(); ++call)
    EXPECT_GT(callsOfKind_.at(call), 0) << "call " << call << " was never made";
  EXPECT_GT(flips_, 10);
  EXPECT_GT(administrations_, 10);
  HostPlatform::UseLockTimeout(0);
  for (const bool store : {true, false}) {
    UseBackend(store);
    ExpectWritten(NumberOf(QuorLib::ListPolicyInfo()));
    ExpectWritten(NumberOf(QuorLib::ListDatastoreInfo()));
    QuorLib::AddPolicyInfo(PoliciesOf(1));
    EXPECT_EQ(NumberOf(QuorLib::ListPolicyInfo()), 1);
  }
}

}  // namespace
}  // namespace StressTest
