// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Several writers at once: processes and threads take turns, and nobody waits for ever.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"
#include "support/shared.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

using Writers = HostTest;

// Adds one to the counter and notes who did, in one transaction.
void Increment(const std::string& writer, int step) {
  const Store store = OpenStore();
  store->BeginTransaction();
  const int count = std::stoi(Get(store, "counter").value_or("0")) + 1;
  Put(store, "counter", std::to_string(count));
  Put(store, "same counter", std::to_string(count));
  Put(store, std::to_string(count), writer + ' ' + std::to_string(step), "log");
  store->CommitTransaction();
}

void IncrementOften(const std::string& writer, int times) {
  for (int step = 0; step < times; ++step)
    Increment(writer, step);
}

// What `writers` writers with `steps` steps each must have left: every step of each, in its order.
void ExpectAllSteps(int writers, int steps) {
  EXPECT_EQ(Get(OpenStore(), "counter"), std::to_string(writers * steps));
  std::vector<int> next(static_cast<std::size_t>(writers), 0);
  for (const std::string& entry : List(OpenStore(), "log")) {
    const auto writer = std::stoul(entry);
    ASSERT_LT(writer, next.size());
    EXPECT_EQ(entry, std::to_string(writer) + ' ' + std::to_string(next[writer]++));
  }
  EXPECT_EQ(next, std::vector<int>(next.size(), steps));
}

using Children = std::vector<std::unique_ptr<ChildProcess>>;

void ExpectSuccess(Children* children) {
  for (const auto& child : *children)
    EXPECT_TRUE(child->Succeeds());
}

TEST_F(Writers, EightProcessesWith100IncrementsEachMake800) {
  Children children;
  for (int writer = 0; writer < 8; ++writer) {
    children.push_back(
        std::make_unique<ChildProcess>([writer] { IncrementOften(std::to_string(writer), 100); }));
  }
  ExpectSuccess(&children);
  ExpectAllSteps(8, 100);
}

TEST_F(Writers, FourThreadsWith50IncrementsEachMake200) {
  std::vector<std::thread> threads;
  for (int writer = 0; writer < 4; ++writer) {
    threads.emplace_back([writer] { IncrementOften(std::to_string(writer), 50); });
  }
  for (std::thread& thread : threads)
    thread.join();
  ExpectAllSteps(4, 50);
}

TEST_F(Writers, ReadersMeetOneCommittedStateOrTheNextNeverAMixture) {
  Children children;
  for (int writer = 0; writer < 2; ++writer) {
    children.push_back(
        std::make_unique<ChildProcess>([writer] { IncrementOften(std::to_string(writer), 200); }));
  }
  int last = 0;
  while (last < 400) {
    const Store store = OpenStore();
    const int count = std::stoi(Get(store, "counter").value_or("0"));
    ASSERT_GE(count, last) << "a reader never goes back in time";
    ASSERT_EQ(Get(store, "same counter").value_or("0"), std::to_string(count));
    ASSERT_EQ(store->GetObjects(All("log")).size(), static_cast<std::size_t>(count));
    last = count;
  }
  ExpectSuccess(&children);
}

TEST_F(Writers, TwoThreadsExcludeEachOther) {
  const Store store = OpenStore();
  store->BeginTransaction();
  CSErrorCodes code = kNothing;
  HostPlatform::UseLockTimeout(20);
  std::thread([&] { code = WriteCode(); }).join();
  EXPECT_EQ(code, kBusy);
  store->RollbackTransaction();
  std::thread([&] { code = WriteCode(); }).join();
  EXPECT_EQ(code, kNothing);
}

TEST_F(Writers, StoppedHolderMakesOthersBusyAtTheDeadlineWithItsName) {
  Gate holds;
  ChildProcess holder([&] {
    const Store store = OpenStore();
    store->BeginTransaction();
    holds.Open();
    pause();
  });
  ASSERT_TRUE(holds.Wait());
  holder.Stop();
  HostPlatform::UseLockTimeout(200);
  const auto start = Clock::now();
  std::string message;
  EXPECT_EQ(WriteCode(&message), kBusy);
  EXPECT_GE(Clock::now() - start, 200ms);
  EXPECT_LT(Clock::now() - start, 10s);
  EXPECT_NE(message.find(LockPath()), std::string::npos) << message;
  EXPECT_NE(message.find("process " + std::to_string(holder.pid())), std::string::npos) << message;
  EXPECT_NE(message.find("200 ms"), std::string::npos) << message;
  holder.Kill();
  EXPECT_EQ(WriteCode(), kNothing) << "a killed holder leaves no lock behind";
}

TEST_F(Writers, ReadersAreNotDelayedByAWriterThatHoldsTheLock) {
  Put(OpenStore(), "a", "1");
  Gate holds;
  ChildProcess holder([&] {
    const Store store = OpenStore();
    store->BeginTransaction();
    Put(store, "a", "2");
    holds.Open();
    pause();
  });
  ASSERT_TRUE(holds.Wait());
  holder.Stop();
  HostPlatform::UseLockTimeout(600'000);
  const auto start = Clock::now();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(Get(OpenStore(), "a"), "1");
    ASSERT_EQ(List(OpenStore()), Texts{"1"});
  }
  EXPECT_LT(Clock::now() - start, 10s);
}

// Holds the lock nearly all the time, and counts how often it took it.
void LockInALoop(std::atomic<int>* turns, Clock::duration hold) {
  for (;;) {
    const Store store = OpenStore();
    store->BeginTransaction();
    ++*turns;
    std::this_thread::sleep_for(hold);
    store->RollbackTransaction();
  }
}

TEST_F(Writers, WaiterIsNotStarvedByACallerThatLocksInALoop) {
  const Shared<std::atomic<int>> turns;
  ChildProcess looper([&] { LockInALoop(&*turns, 10ms); });
  while (*turns == 0)
    std::this_thread::sleep_for(1ms);
  const int before = *turns;
  constexpr int kWaits = 20;
  for (int i = 0; i < kWaits; ++i)
    ASSERT_EQ(WriteCode(), kNothing);
  // One turn that had begun and one that raced with the wait's start, with some to spare.
  EXPECT_LT(*turns - before, 5 * kWaits);
}

TEST_F(Writers, WaiterIsNotStarvedByManyCallersThatLockInALoop) {
  const Shared<std::atomic<int>> turns;
  Children loopers;
  for (int i = 0; i < 6; ++i) {
    loopers.push_back(std::make_unique<ChildProcess>([&] { LockInALoop(&*turns, 500us); }));
  }
  while (*turns < 6)
    std::this_thread::sleep_for(1ms);
  for (int i = 0; i < 20; ++i) {
    const auto start = Clock::now();
    ASSERT_EQ(WriteCode(), kNothing);
    EXPECT_LT(Clock::now() - start, 5s);
  }
}

TEST_F(Writers, DeadlineOfZeroAsksOnce) {
  const Store store = OpenStore();
  store->BeginTransaction();
  HostPlatform::UseLockTimeout(0);
  const auto start = Clock::now();
  EXPECT_EQ(WriteCode(), kBusy);
  EXPECT_LT(Clock::now() - start, 5s);
  EXPECT_EQ(HostPlatform::LockTimeout(), 0U);
}

TEST_F(Writers, OnesOfDifferentHostDirectoriesDoNotWaitForEachOther) {
  const Store store = OpenStore();
  store->BeginTransaction();
  HostPlatform::UseLockTimeout(0);
  HostPlatform::UseHostDirectory(temporary_.PathOf("second"));
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(Writers, TransactionStaysInTheDirectoryInWhichItWasBegun) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  HostPlatform::UseHostDirectory(temporary_.PathOf("second"));
  store->CommitTransaction();
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
  HostPlatform::UseHostDirectory(HostPath());
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

// Runs `body` in a pid namespace of its own, where its process has the number 1.
void RunAsProcessOne(const std::function<void()>& body) {
  ASSERT_EQ(unshare(CLONE_NEWPID), 0);
  ChildProcess one([&] {
    EXPECT_EQ(getpid(), 1);
    body();
  });
  EXPECT_TRUE(one.Succeeds());
}

TEST_F(Writers, EqualProcessNumbersInTwoContainersExcludeEachOther) {
  Machine::NeedNamespaces();
  Gate holds;
  Gate tried;
  ChildProcess first([&] {
    RunAsProcessOne([&] {
      const Store store = OpenStore();
      store->BeginTransaction();
      Put(store, "a", "first");
      holds.Open();
      EXPECT_TRUE(tried.Wait());
      store->CommitTransaction();
    });
  });
  ASSERT_TRUE(holds.Wait());
  ChildProcess second([&] {
    RunAsProcessOne([&] {
      HostPlatform::UseLockTimeout(50);
      EXPECT_EQ(WriteCode(), kBusy);
      tried.Open();
      HostPlatform::UseLockTimeout(20'000);
      Put(OpenStore(), "b", "second");
    });
  });
  EXPECT_TRUE(first.Succeeds());
  EXPECT_TRUE(second.Succeeds());
  EXPECT_EQ(List(OpenStore()), (Texts{"first", "second"}));
}

TEST_F(Writers, CopyTakenWhileTheyCommitIsWhole) {
  ChildProcess writer([] { IncrementOften("0", 300); });
  int copies = 0;
  while (Get(OpenStore(), "counter").value_or("0") != "300") {
    if (!Exists(SnapshotPath())) continue;
    WriteFile(temporary_.PathOf("config-store.cdb"), ReadFile(SnapshotPath()));
    HostPlatform::UseHostDirectory(temporary_.path());
    const Store copy = OpenStore();
    ASSERT_EQ(Get(copy, "counter"), Get(copy, "same counter"));
    ASSERT_EQ(List(copy, "log").size(), std::stoul(*Get(copy, "counter")));
    HostPlatform::UseHostDirectory(HostPath());
    ++copies;
  }
  EXPECT_GT(copies, 3);
  EXPECT_TRUE(writer.Succeeds());
}

}  // namespace
}  // namespace PlatformTest
