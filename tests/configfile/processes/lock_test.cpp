// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One session at a time, a deadline for those who wait, and nothing that drops the lock early.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support.h"

namespace ConfigFileTest {
namespace {

using Clock = std::chrono::steady_clock;

class Lock : public HostTest {
 protected:
  Lock() { Put("key", "value"); }

  static std::string BusyMessage(std::uint32_t deadline = 0) {
    HostPlatform::UseLockTimeout(deadline);
    return MessageOf([] { Get("key"); });
  }
};

TEST_F(Lock, IsFreeBetweenSessions) {
  EXPECT_EQ(BusyMessage(), kNothingRaised);
  RunInChild([] { EXPECT_EQ(BusyMessage(), kNothingRaised); });
}

TEST_F(Lock, KeepsOtherProcessesOut) {
  const SynchronizedConfigFile locked;
  RunInChild([&] {
    EXPECT_TRUE(Contains(BusyMessage(), LockPath()));
    EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), "still locked"));
  });
}

TEST_F(Lock, KeepsOtherThreadsAndTheSameThreadOut) {
  const SynchronizedConfigFile locked;
  EXPECT_TRUE(Contains(BusyMessage(), "still locked"));
  std::string message;
  std::thread([&] { message = BusyMessage(); }).join();
  EXPECT_TRUE(Contains(message, "still locked"));
}

TEST_F(Lock, OfAStoppedHolderRaisesAtTheDeadlineAndNamesIt) {
  Gate holds;
  ChildProcess holder([&] {
    const SynchronizedConfigFile locked;
    holds.Open();
    pause();
  });
  ASSERT_TRUE(holds.Wait());
  holder.Stop();
  const Clock::time_point start = Clock::now();
  const std::string message = BusyMessage(300);
  const auto waited = Clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(300));
  EXPECT_LT(waited, std::chrono::seconds(10));
  EXPECT_TRUE(Contains(message, LockPath()));
  EXPECT_TRUE(Contains(message, "300 ms"));
  EXPECT_TRUE(Contains(message, "process " + std::to_string(holder.pid()) + ";"));
}

TEST_F(Lock, OfAHolderThatWasKilledIsFree) {
  Gate holds;
  ChildProcess holder([&] {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->SetValue("key", "unwritten");
    holds.Open();
    pause();
  });
  ASSERT_TRUE(holds.Wait());
  holder.Kill();
  EXPECT_EQ(BusyMessage(), kNothingRaised);
  EXPECT_EQ(Get("key"), "value");
}

TEST_F(Lock, IsGivenToAWaiterWhenItsHolderGoesOn) {
  Gate holds;
  Gate goOn;
  ChildProcess holder([&] {
    const SynchronizedConfigFile locked;
    holds.Open();
    EXPECT_TRUE(goOn.Wait());
    BranchOf(locked)->SetValue("key", "written by the holder");
    locked.file->Write();
  });
  ASSERT_TRUE(holds.Wait());
  std::thread waiter([] { EXPECT_EQ(Get("key"), "written by the holder"); });
  goOn.Open();
  waiter.join();
  EXPECT_TRUE(holder.Succeeds());
}

TEST_F(Lock, IsReleasedWhenTheDocumentIsRefused) {
  EditByHand("{");
  EXPECT_TRUE(Contains(BusyMessage(), FilePath()));
  RunInChild([&] { EXPECT_TRUE(Contains(BusyMessage(), FilePath())); });
}

TEST_F(Lock, IsReleasedWhenAWriteFails) {
  ASSERT_EQ(chmod(HostPath().c_str(), 0777), 0);
  EXPECT_NE(MessageOf([] { Put("key", "new"); }), kNothingRaised);
  ASSERT_EQ(chmod(HostPath().c_str(), 0750), 0);
  RunInChild([] { EXPECT_EQ(BusyMessage(), kNothingRaised); });
}

TEST_F(Lock, IsReleasedWhenASessionRaisesOfTheWrongType) {
  EXPECT_NE(MessageOf([] {
              const SynchronizedConfigFile locked;
              BranchOf(locked)->GetArray("key");
            }),
            kNothingRaised);
  RunInChild([] { EXPECT_EQ(BusyMessage(), kNothingRaised); });
}

TEST_F(Lock, IsNotDroppedByAStrayOpenAndCloseOfItsFile) {
  const SynchronizedConfigFile locked;
  for (const int flags : {O_RDONLY, O_RDWR})
    close(open(LockPath().c_str(), flags | O_CLOEXEC));
  close(open(FilePath().c_str(), O_RDWR | O_CLOEXEC));
  RunInChild([] { EXPECT_TRUE(Contains(BusyMessage(), "still locked")); });
}

TEST_F(Lock, IsNotStarvedByCallersInALoop) {
  std::vector<std::unique_ptr<ChildProcess>> callers;
  for (int i = 0; i < 4; ++i) {
    callers.push_back(std::make_unique<ChildProcess>([] {
      for (;;)
        Get("key");
    }));
  }
  HostPlatform::UseLockTimeout(30'000);
  const Clock::time_point start = Clock::now();
  for (int i = 0; i < 20; ++i)
    Put("key", std::to_string(i));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
}

TEST_F(Lock, FileThatIsReplacedUnderAWaiterDoesNotLetTwoIn) {
  Gate holds;
  Gate goOn;
  ChildProcess holder([&] {
    const SynchronizedConfigFile locked;
    holds.Open();
    EXPECT_TRUE(goOn.Wait());
  });
  ASSERT_TRUE(holds.Wait());
  Gate waiting;
  ChildProcess waiter([&] {
    waiting.Open();
    const SynchronizedConfigFile locked;  // on the old file first, then on the new one
    EXPECT_EQ(HostPlatform::GetLockStates().back().holder, "process " + std::to_string(getpid()));
  });
  ASSERT_TRUE(waiting.Wait());
  usleep(100'000);
  ReplaceFile(LockPath(), "");
  goOn.Open();
  EXPECT_TRUE(waiter.Succeeds());
  EXPECT_TRUE(holder.Succeeds());
}

// The lock of a session that reads is looked at again at its first change.
TEST_F(Lock, FileThatIsReplacedUnderAReaderIsLockedAnewForItsChange) {
  {
    const SynchronizedConfigFile locked;
    ReplaceFile(LockPath(), "");
    BranchOf(locked)->SetValue("key", "mine");
    RunInChild([] { EXPECT_TRUE(Contains(BusyMessage(), "still locked")); });
    locked.file->Write();
  }
  EXPECT_EQ(Get("key"), "mine");
}

TEST_F(Lock, FileThatIsReplacedUnderAReaderLosesNoChangeOfAnother) {
  {
    const SynchronizedConfigFile locked;
    std::string value;
    EXPECT_TRUE(BranchOf(locked)->GetValue("key", &value));
    ReplaceFile(LockPath(), "");
    RunInChild([] { Put("key", "theirs"); });
    EXPECT_TRUE(Contains(MessageOf([&] { BranchOf(locked)->SetValue("key", "mine"); }),
                         "another process changed it"));
  }
  EXPECT_EQ(Get("key"), "theirs");
}

TEST_F(Lock, FileThatIsALinkIsRefused) {
  ASSERT_EQ(unlink(LockPath().c_str()), 0);
  WriteFile(temporary_.PathOf("victim"), "untouched");
  ASSERT_EQ(symlink(temporary_.PathOf("victim").c_str(), LockPath().c_str()), 0);
  EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), LockPath()));
  EXPECT_EQ(ReadFile(temporary_.PathOf("victim")), "untouched");
}

TEST_F(Lock, FileHasTheModeOfTheOwnerAlone) {
  EXPECT_EQ(ModeOf(LockPath()), 0600U);
}

TEST_F(Lock, IsNoConcernOfTheConfigurationStore) {
  const SynchronizedConfigFile locked;
  HostPlatform::UseLockTimeout(0);
  EXPECT_NO_THROW(HostPlatform::SetFeature(9, true));
}

TEST_F(Lock, DescriptorsAreAboveTheStandardOnesAndCloseOnExec) {
  RunInChild([&] {
    for (int standard = 0; standard < 3; ++standard)
      close(standard);
    const SynchronizedConfigFile locked;
    for (int fd = 0; fd < 3; ++fd) {
      if (fcntl(fd, F_GETFD) >= 0) _exit(2);
    }
    for (int fd = 3; fd < 64; ++fd) {
      char target[4096] = {};
      const std::string link = "/proc/self/fd/" + std::to_string(fd);
      if (readlink(link.c_str(), target, sizeof target - 1) < 0) continue;
      if (!std::string(target).starts_with(HostPath())) continue;
      if ((fcntl(fd, F_GETFD) & FD_CLOEXEC) == 0) _exit(3);
    }
  });
}

TEST_F(Lock, LeavesErrnoAsItWas) {
  errno = 4711;
  Get("key");
  EXPECT_EQ(errno, 4711);
  Put("key", "new");
  EXPECT_EQ(errno, 4711);
}

}  // namespace
}  // namespace ConfigFileTest
