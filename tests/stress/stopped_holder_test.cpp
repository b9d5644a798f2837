// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A process that was stopped in the middle of a replacement: what everybody else meets meanwhile.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "platform/admin.h"
#include "quor/quor_lib.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"
#include "support/shared.h"

namespace StressTest {
namespace {

using PlatformTest::ChildProcess;
using PlatformTest::Shared;
using TavQuor::QuorLib;

bool stopsInTheNextFlush = false;

constexpr int kOthers = 6;
constexpr std::uint32_t kDeadline = 100;  // milliseconds
constexpr int kOld = 1;                   // the set that is there before
constexpr int kNew = 2;                   // the one that the holder is about to put in place

}  // namespace

void StopWhenWanted() {
  if (!stopsInTheNextFlush) return;
  stopsInTheNextFlush = false;
  raise(SIGSTOP);
}

}  // namespace StressTest

// The new content is complete by then, and not yet in place.
extern "C" __attribute__((visibility("default"))) int fsync(int /*fd*/) {
  StressTest::StopWhenWanted();
  return 0;
}

namespace StressTest {
namespace {

class StoppedHolder : public PlatformTest::HostTest {
 protected:
  explicit StoppedHolder(const std::string& store) {
    Machine::NeedRoot();
    EXPECT_EQ(mkdir(HostPath().c_str(), 0700), 0);
    EXPECT_EQ(chown(HostPath().c_str(), 0, PlatformTest::kReaders), 0);
    EXPECT_EQ(chmod(HostPath().c_str(), 02750), 0);
    UseStore(store);
    QuorLib::AddPolicyInfo(PoliciesOf(kOld));
    QuorLib::AddDatastoreInfo(DatastoresOf(kOld));
    holder_ = std::make_unique<ChildProcess>([] {
      stopsInTheNextFlush = true;
      QuorLib::AddPolicyInfo(PoliciesOf(kNew));
    });
    int status = 0;
    while (waitpid(holder_->pid(), &status, WUNTRACED) < 0 && errno == EINTR) {
    }
    EXPECT_TRUE(WIFSTOPPED(status)) << "it ended before it was stopped";
  }

  // Runs it in several processes at once.
  static void RunInOthers(const std::function<void()>& body) {
    std::vector<std::unique_ptr<ChildProcess>> others(kOthers);
    for (auto& other : others)
      other = std::make_unique<ChildProcess>(body);
    for (const auto& other : others)
      EXPECT_TRUE(other->Succeeds());
  }

  // Waits for the deadline, and raises "busy" with the holder's name.
  void ExpectBusy(const std::function<void()>& call) const {
    const auto start = std::chrono::steady_clock::now();
    try {
      call();
      ADD_FAILURE() << "nothing was raised";
    } catch (const std::exception& failure) {
      EXPECT_TRUE(IsBusy()) << failure.what();
      const std::string message = failure.what();
      const std::string name = "process " + std::to_string(holder_->pid()) + ' ';
      EXPECT_NE(message.find(name), std::string::npos) << message;
      EXPECT_NE(message.find(std::to_string(kDeadline) + " ms"), std::string::npos) << message;
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(kDeadline));
  }

  void ExpectWritersBusy() const {
    RunInOthers([this] {
      HostPlatform::UseLockTimeout(kDeadline);
      ExpectBusy([] { QuorLib::AddPolicyInfo(PoliciesOf(3)); });
      ExpectBusy([] { QuorLib::AddDatastoreInfo(DatastoresOf(3)); });
      ExpectBusy([] { QuorLib::Reset(); });
    });
  }

  // Each way to read the catalogue answers with the old one.
  static void ReadAll() {
    EXPECT_EQ(NumberOf(QuorLib::ListPolicyInfo()), kOld);
    EXPECT_EQ(NumberOf(QuorLib::ListDatastoreInfo()), kOld);
    EXPECT_EQ(QuorLib::GetDbHash(), QuorLib::GetDbHash());
    for (int policy = 0; policy < kPolicies; ++policy) {
      const int blob = BlobIn(kOld, policy, kRilk);
      EXPECT_EQ(NumberOfBlob(QuorLib::GetRilkPolicyBlobById(PolicyId(policy))), blob);
      EXPECT_EQ(NumberOfBlob(QuorLib::GetRilkPolicyBlobByName(PolicyName(policy))), blob);
      EXPECT_EQ(NumberOfBlob(QuorLib::GetPolicyBlobById(PolicyId(policy), Url(0))),
                BlobIn(kOld, policy, NamespaceIn(kOld, 0)));
    }
    EXPECT_EQ(NumberOfBlob(QuorLib::GetDefaultPolicyBlob(Url(0))),
              BlobIn(kOld, DefaultPolicyIn(kOld, 0), NamespaceIn(kOld, 0)));
  }

  // They would wait for ten minutes, and the test with them, if they waited at all.
  static void ExpectReadersToFinish(const std::function<void()>& prepare) {
    constexpr int kRounds = 200;
    const Shared<std::atomic<int>> rounds;
    RunInOthers([&] {
      prepare();
      HostPlatform::UseLockTimeout(600'000);
      for (int i = 0; i < kRounds; ++i) {
        ReadAll();
        ++*rounds;
      }
    });
    EXPECT_EQ(*rounds, kOthers * kRounds);
  }

  void ExpectItToFinishWhenItGoesOn() {
    holder_->Continue();
    EXPECT_TRUE(holder_->Succeeds());
    EXPECT_EQ(NumberOf(QuorLib::ListPolicyInfo()), kNew);
    ExpectNextReplacementWithoutWaiting();
  }

  void ExpectNothingOfItWhenItIsKilled() {
    holder_->Kill();
    EXPECT_EQ(NumberOf(QuorLib::ListPolicyInfo()), kOld);
    ExpectNextReplacementWithoutWaiting();
  }

  static void ExpectNextReplacementWithoutWaiting() {
    HostPlatform::UseLockTimeout(0);
    QuorLib::AddPolicyInfo(PoliciesOf(3));
    EXPECT_EQ(NumberOf(QuorLib::ListPolicyInfo()), 3);
  }

  std::unique_ptr<ChildProcess> holder_;
};

class StoppedHolderOfTheStore : public StoppedHolder {
 protected:
  StoppedHolderOfTheStore() : StoppedHolder("store") {}
};

class StoppedHolderOfTheFile : public StoppedHolder {
 protected:
  StoppedHolderOfTheFile() : StoppedHolder("file") {}
};

TEST_F(StoppedHolderOfTheStore, MakesEveryOtherWriterBusyAtTheDeadlineWithItsName) {
  ExpectWritersBusy();
}

TEST_F(StoppedHolderOfTheStore, DelaysNoReader) {
  ExpectReadersToFinish([] {});
}

TEST_F(StoppedHolderOfTheStore, FinishesItsReplacementWhenItGoesOn) {
  ExpectItToFinishWhenItGoesOn();
}

TEST_F(StoppedHolderOfTheStore, LeavesTheOldCatalogueAndNoLockWhenItIsKilled) {
  ExpectNothingOfItWhenItIsKilled();
}

TEST_F(StoppedHolderOfTheFile, MakesEveryOtherWriterBusyAtTheDeadlineWithItsName) {
  ExpectWritersBusy();
}

TEST_F(StoppedHolderOfTheFile, MakesReadersThatMayWriteBusyAtTheDeadlineToo) {
  RunInOthers([this] {
    HostPlatform::UseLockTimeout(kDeadline);
    ExpectBusy([] { QuorLib::ListPolicyInfo(); });
    ExpectBusy([] { QuorLib::GetRilkPolicyBlobById(PolicyId(0)); });
    ExpectBusy([] { QuorLib::GetDefaultPolicyBlob(Url(0)); });
    ExpectBusy([] { QuorLib::GetDbHash(); });
  });
}

TEST_F(StoppedHolderOfTheFile, DelaysNoReaderThatMayNotWrite) {
  ExpectReadersToFinish(
      [] { PlatformTest::BecomeUser(PlatformTest::kStranger, {PlatformTest::kReaders}); });
}

TEST_F(StoppedHolderOfTheFile, FinishesItsReplacementWhenItGoesOn) {
  ExpectItToFinishWhenItGoesOn();
}

TEST_F(StoppedHolderOfTheFile, LeavesTheOldCatalogueAndNoLockWhenItIsKilled) {
  ExpectNothingOfItWhenItIsKilled();
}

}  // namespace
}  // namespace StressTest
