// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Readers that look at the file only now and then still see every commit when it has returned.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/shared.h"

namespace PlatformTest {
namespace {

using namespace std::chrono_literals;

// Longer than a snapshot is young, and than the longest tick of the clock.
constexpr auto kSettled = 120ms;
constexpr auto kTicks = 25ms;

struct Progress {
  std::atomic<int> returned{0};  // the last commit that did
  std::atomic<int> seen{0};      // the newest one that a read has seen
  std::atomic<long> reads{0};
  std::atomic<bool> finished{false};
};

class FreshReads : public HostTest {
 protected:
  FreshReads() { Put(OpenStore(), "number", "0"); }

  std::string NoticePath() const { return PathOf(".config-store.changing"); }
  static int Number() { return std::stoi(Get(OpenStore(), "number").value_or("-1")); }

  void ReadUntilFinished() const {
    while (!progress_->finished) {
      const int returned = progress_->returned;
      const int seen = progress_->seen;
      const int number = Number();
      ASSERT_GE(number, returned) << "the commit had returned before the read began";
      ASSERT_GE(number, seen) << "another reader had seen it before the read began";
      for (int known = seen;
           known < number && !progress_->seen.compare_exchange_weak(known, number);)
        continue;
      ++progress_->reads;
    }
  }

  void CommitAndTell(int from, int to, std::chrono::milliseconds pause) const {
    for (int number = from; number <= to; ++number) {
      std::this_thread::sleep_for(pause);
      Put(OpenStore(), "number", std::to_string(number));
      progress_->returned = number;
    }
  }

  Shared<Progress> progress_;
};

TEST_F(FreshReads, AreNeverOlderThanACommitThatReturnedOrThanAnotherRead) {
  std::vector<std::unique_ptr<ChildProcess>> readers;
  for (int i = 0; i < 3; ++i)
    readers.push_back(std::make_unique<ChildProcess>([this] { ReadUntilFinished(); }));
  RunInChild([this] {
    CommitAndTell(1, 12, kSettled);
    CommitAndTell(13, 60, 1ms);
    CommitAndTell(61, 70, 95ms);
  });
  progress_->finished = true;
  for (const auto& reader : readers)
    EXPECT_TRUE(reader->Succeeds());
  EXPECT_EQ(Number(), 70);
  EXPECT_GT(progress_->reads.load(), 1000);
}

TEST_F(FreshReads, InTheProcessThatCommitsAreOfItsCommit) {
  for (int number = 1; number <= 8; ++number) {
    std::this_thread::sleep_for(number % 2 == 0 ? kSettled : 0ms);
    EXPECT_EQ(Number(), number - 1);
    Put(OpenStore(), "number", std::to_string(number));
    EXPECT_EQ(Number(), number);
  }
}

TEST_F(FreshReads, InAForkedChildAreOfTheParentsCommit) {
  std::this_thread::sleep_for(kSettled);
  Gate committed;
  EXPECT_EQ(Number(), 0);
  ChildProcess child([&] {
    EXPECT_EQ(Number(), 0);
    EXPECT_TRUE(committed.Wait());
    EXPECT_EQ(Number(), 1);
  });
  std::this_thread::sleep_for(kTicks);
  Put(OpenStore(), "number", "1");
  committed.Open();
  EXPECT_TRUE(child.Succeeds());
}

TEST_F(FreshReads, MeetAFileThatSomebodyElsePutInPlaceAtTheNextTick) {
  std::filesystem::copy(SnapshotPath(), PathOf("backup"));
  Put(OpenStore(), "number", "1");
  std::this_thread::sleep_for(kSettled);
  EXPECT_EQ(Number(), 1);
  ASSERT_EQ(std::rename(PathOf("backup").c_str(), SnapshotPath().c_str()), 0);
  std::this_thread::sleep_for(kTicks);
  EXPECT_EQ(Number(), 0);
}

TEST_F(FreshReads, AreOfTheDirectoryThatWasChosenLast) {
  std::this_thread::sleep_for(kSettled);
  EXPECT_EQ(Number(), 0);
  HostPlatform::UseHostDirectory(temporary_.PathOf("second"));
  EXPECT_EQ(Number(), -1);
}

TEST_F(FreshReads, GoOnWhileANoticeIsLeftOverAndTheNextCommitTakesItDown) {
  WriteFile(NoticePath(), "");
  std::this_thread::sleep_for(kSettled);
  EXPECT_EQ(Number(), 0);
  Put(OpenStore(), "number", "1");
  EXPECT_FALSE(Exists(NoticePath()));
  EXPECT_EQ(Number(), 1);
}

TEST_F(FreshReads, FindNoNoticeAfterATransactionThatFailedOrWasRolledBack) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "number", "1");
  store->RollbackTransaction();
  EXPECT_FALSE(Exists(NoticePath()));
  store->BeginTransaction();
  Put(store, "number", "2");
  std::filesystem::copy(SnapshotPath(), PathOf("other"));
  ASSERT_EQ(std::rename(PathOf("other").c_str(), SnapshotPath().c_str()), 0);
  EXPECT_NE(CodeOf([&] { store->CommitTransaction(); }), kNothing) << "another file is in place";
  EXPECT_FALSE(Exists(NoticePath()));
}

// Whatever is there in the notice's place, it is not written to, and commits go on.
TEST_F(FreshReads, LinkInPlaceOfTheNoticeIsNotFollowed) {
  WriteFile(PathOf("target"), "precious");
  for (const char* const target : {"target", "absent"}) {
    ASSERT_EQ(symlink(target, NoticePath().c_str()), 0);
    Put(OpenStore(), "number", "1");
    EXPECT_FALSE(Exists(NoticePath()));
  }
  EXPECT_EQ(ReadFile(PathOf("target")), "precious");
  EXPECT_FALSE(Exists(PathOf("absent")));
}

}  // namespace
}  // namespace PlatformTest
