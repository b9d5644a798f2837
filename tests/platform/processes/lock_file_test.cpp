// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The lock file itself: what a foreign hand does to it, and what stands in its place.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <thread>

#include "errors/error.h"
#include "os/directory.h"
#include "os/file_lock.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes
using namespace std::chrono_literals;
using HostPlatform::Io::Directory;
using HostPlatform::Io::Error;
using HostPlatform::Io::FileLock;

constexpr char kName[] = "some.lock";

class LockFile : public HostTest {
 protected:
  LockFile() { Directory create(HostPath()); }

  std::string Path() const { return PathOf(kName); }

  std::unique_ptr<FileLock> Lock(std::chrono::milliseconds deadline = 5s) const {
    return LockNamed(kName, deadline);
  }
  std::unique_ptr<FileLock> LockNamed(const char* name, std::chrono::milliseconds deadline) const {
    return std::make_unique<FileLock>(Directory(HostPath()), name, deadline);
  }
  // Whether another descriptor may have the lock at this moment.
  bool IsFree(std::string* message = nullptr) const {
    try {
      Lock(0ms);
      return true;
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), HostPlatform::Io::ErrorKind::kBusy);
      if (message != nullptr) *message = error.what();
      return false;
    }
  }

  void ExpectRefused(CSErrorCodes code = kInsecure) const {
    std::string message;
    EXPECT_EQ(WriteCode(&message), code);
    EXPECT_NE(message.find(LockPath()), std::string::npos) << message;
    EXPECT_FALSE(Exists(SnapshotPath()));
  }
};

TEST_F(LockFile, IsKeptAfterUnlocking) {
  Lock();
  EXPECT_TRUE(Exists(Path()));
  const auto inode = StatusOf(Path()).st_ino;
  Lock();
  EXPECT_EQ(StatusOf(Path()).st_ino, inode);
}

TEST_F(LockFile, ExcludesOthersUntilItIsUnlocked) {
  auto lock = Lock();
  EXPECT_TRUE(lock->HeldByThisProcess());
  EXPECT_FALSE(IsFree());
  RunInChild([this] { EXPECT_FALSE(IsFree()); });
  lock.reset();
  EXPECT_TRUE(IsFree());
  RunInChild([this] { EXPECT_TRUE(IsFree()); });
}

TEST_F(LockFile, IsNotHeldByAForkedChild) {
  const auto lock = Lock();
  RunInChild([&] { EXPECT_FALSE(lock->HeldByThisProcess()); });
  EXPECT_TRUE(lock->HeldByThisProcess());
  EXPECT_FALSE(IsFree());
}

// A descriptor of the lock file that locks its bytes by itself: the gate is the first, the lock the
// second.
class OtherDescriptor {
 public:
  explicit OtherDescriptor(const std::string& path) : fd_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {}
  OtherDescriptor(const OtherDescriptor&) = delete;
  OtherDescriptor& operator=(const OtherDescriptor&) = delete;
  ~OtherDescriptor() { close(fd_); }

  bool Lock(short type, off_t byte) const { return Call(F_OFD_SETLK, type, byte) == type; }
  // How another descriptor holds the byte.
  short Held(off_t byte) const { return Call(F_OFD_GETLK, F_WRLCK, byte); }

 private:
  short Call(int command, short type, off_t byte) const {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    return fcntl(fd_, command, &range) == 0 ? range.l_type : static_cast<short>(-1);
  }

  int fd_;
};

TEST_F(LockFile, IsHeldExclusivelyAndWithoutTheGate) {
  const auto lock = Lock();
  const OtherDescriptor other(Path());
  EXPECT_EQ(other.Held(1), F_WRLCK);
  EXPECT_EQ(other.Held(0), F_UNLCK);
}

TEST_F(LockFile, IsNotSharedWithThoseWhoWouldShareIt) {
  Lock();
  const OtherDescriptor other(Path());
  ASSERT_TRUE(other.Lock(F_RDLCK, 1));
  EXPECT_FALSE(IsFree());
  ASSERT_TRUE(other.Lock(F_UNLCK, 1));
  EXPECT_TRUE(IsFree());
}

TEST_F(LockFile, IsNotTakenAheadOfAWaiterAtTheGate) {
  Lock();
  const OtherDescriptor waiter(Path());
  ASSERT_TRUE(waiter.Lock(F_WRLCK, 0));
  EXPECT_FALSE(IsFree());
  ASSERT_TRUE(waiter.Lock(F_UNLCK, 0));
  EXPECT_TRUE(IsFree());
}

TEST_F(LockFile, IsWaitedForAtTheGateWhichIsGivenBack) {
  auto holder = Lock();
  const OtherDescriptor other(Path());
  std::thread waiter([this] { EXPECT_NO_THROW(Lock(20s)); });
  const auto giveUp = std::chrono::steady_clock::now() + 20s;
  while (other.Held(0) != F_WRLCK && std::chrono::steady_clock::now() < giveUp)
    std::this_thread::sleep_for(1ms);
  EXPECT_EQ(other.Held(0), F_WRLCK);
  holder.reset();
  waiter.join();
  EXPECT_EQ(other.Held(0), F_UNLCK);
}

TEST_F(LockFile, IsWaitedForUntilTheDeadlineAndNoLonger) {
  const auto holder = Lock();
  const auto start = std::chrono::steady_clock::now();
  std::string message;
  try {
    Lock(200ms);
  } catch (const Error& error) {
    message = error.what();
  }
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, 200ms);
  EXPECT_LT(waited, 15s);
  EXPECT_NE(message.find("still locked after 200 ms"), std::string::npos) << message;
}

TEST_F(LockFile, OfAnotherNameIsAnotherLock) {
  const auto lock = Lock();
  EXPECT_NO_THROW(LockNamed("other.lock", 0ms));
}

TEST_F(LockFile, StrayOpenAndCloseInTheSameProcessDoesNotDropTheLock) {
  const auto lock = Lock();
  const int stray = open(Path().c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(stray, 0);
  close(stray);
  RunInChild([this] { EXPECT_FALSE(IsFree()); });
}

TEST_F(LockFile, StrayClassicUnlockInTheSameProcessDoesNotDropTheLock) {
  const auto lock = Lock();
  const int stray = open(Path().c_str(), O_RDWR | O_CLOEXEC);
  struct flock everything = {};
  everything.l_type = F_UNLCK;
  everything.l_whence = SEEK_SET;
  EXPECT_EQ(fcntl(stray, F_SETLK, &everything), 0);
  EXPECT_EQ(flock(stray, LOCK_UN), 0);
  close(stray);
  RunInChild([this] { EXPECT_FALSE(IsFree()); });
}

// Makes a child without the fork handlers of the C library, as some runtimes do.
pid_t RawClone() {
  return static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(LockFile, CopyInAChildMadeWithoutForkHandlersNeitherKeepsNorDropsTheLock) {
  auto lock = Lock();
  const pid_t lives = RawClone();
  if (lives == 0) {
    for (;;)
      pause();
  }
  const pid_t ends = RawClone();
  if (ends == 0) _exit(0);
  EXPECT_EQ(waitpid(ends, nullptr, 0), ends);
  EXPECT_FALSE(IsFree());
  lock.reset();
  EXPECT_TRUE(IsFree()) << "while the other copy lives";
  kill(lives, SIGKILL);
  EXPECT_EQ(waitpid(lives, nullptr, 0), lives);
}

TEST_F(LockFile, RemovedWhileSomebodyWaitsLetsOnlyOneIn) {
  auto holder = Lock();
  Gate waits;
  Gate locked;
  Gate leaves;
  ChildProcess waiter([&] {
    waits.Open();
    const auto lock = Lock();
    locked.Open();
    EXPECT_TRUE(leaves.Wait());
  });
  ASSERT_TRUE(waits.Wait());
  std::this_thread::sleep_for(50ms);  // it has the old file open by now
  ASSERT_EQ(unlink(Path().c_str()), 0);
  holder.reset();
  ASSERT_TRUE(locked.Wait());
  EXPECT_FALSE(IsFree()) << "the waiter holds the file that bears the name, not the removed one";
  leaves.Open();
  EXPECT_TRUE(waiter.Succeeds());
}

TEST_F(LockFile, ReplacedWhileSomebodyWaitsLetsOnlyOneIn) {
  auto holder = Lock();
  Gate waits;
  Gate locked;
  ChildProcess waiter([&] {
    waits.Open();
    const auto lock = Lock();
    locked.Open();
    pause();
  });
  ASSERT_TRUE(waits.Wait());
  std::this_thread::sleep_for(50ms);
  ReplaceFile(Path(), "");
  auto second = Lock();  // of the new file
  holder.reset();
  std::this_thread::sleep_for(50ms);  // time for the waiter to make the mistake
  EXPECT_TRUE(second->HeldByThisProcess());
  EXPECT_FALSE(IsFree());
  second.reset();
  ASSERT_TRUE(locked.Wait());
  EXPECT_FALSE(IsFree());
  waiter.Kill();
  EXPECT_TRUE(IsFree());
}

TEST_F(LockFile, RemovedDuringATransactionLosesNoCommitOfAnother) {
  const Store first = OpenStore();
  first->BeginTransaction();
  Put(first, "a", "first");
  ASSERT_EQ(unlink(LockPath().c_str()), 0);
  Put(OpenStore(), "b", "second");
  const CSErrorCodes code = CodeOf([&] { first->CommitTransaction(); });
  EXPECT_EQ(Get(OpenStore(), "b"), "second") << "overwritten by a commit that gave code " << code;
}

TEST_F(LockFile, NamesItsHolderToThoseWhoWait) {
  const auto lock = Lock();
  std::string message;
  EXPECT_FALSE(IsFree(&message));
  EXPECT_NE(message.find("process " + std::to_string(getpid()) + " (platform_intern"),
            std::string::npos)
      << message;
}

// Another program's lock does not tell its number.
TEST_F(LockFile, WithHostileTextIsShownWithoutItsControlCharacters) {
  Lock();
  const OtherDescriptor holder(Path());
  ASSERT_TRUE(holder.Lock(F_WRLCK, 1));
  WriteFile(Path(), "process \x1b[31m1\a\nsecond line");
  std::string message;
  EXPECT_FALSE(IsFree(&message));
  EXPECT_NE(message.find("process ?[31m1?;"), std::string::npos) << message;
  EXPECT_EQ(message.find("second line"), std::string::npos) << message;
}

TEST_F(LockFile, WithoutTheNameOfALivingProcessIsOfAnotherOne) {
  Lock();
  const OtherDescriptor holder(Path());
  ASSERT_TRUE(holder.Lock(F_WRLCK, 1));
  const std::string dead = "process 4194305 (gone)\n";  // beyond the highest number
  const std::string living = "process " + std::to_string(getpid()) + " (self)\n";
  for (const std::string& text : {std::string(), dead, living}) {
    WriteFile(Path(), text);
    std::string message;
    EXPECT_FALSE(IsFree(&message));
    EXPECT_EQ(message.find("another process") != std::string::npos, text != living) << message;
  }
}

TEST_F(LockFile, WithTheNameOfAnotherProcessIsOfItsHolderAllTheSame) {
  const auto lock = Lock();
  WriteFile(Path(), "process " + std::to_string(getppid()) + " (last)\n");
  std::string message;
  EXPECT_FALSE(IsFree(&message));
  EXPECT_NE(message.find("by process " + std::to_string(getpid()) + ";"), std::string::npos)
      << message;
}

TEST_F(LockFile, WithLongTextIsShownCutShort) {
  Lock();
  const OtherDescriptor holder(Path());
  ASSERT_TRUE(holder.Lock(F_WRLCK, 1));
  WriteFile(Path(), std::string(100'000, 'x'));
  std::string message;
  EXPECT_FALSE(IsFree(&message));
  EXPECT_LT(message.size(), 500U);
}

TEST_F(LockFile, ThatIsASymbolicLinkIsRefusedAndItsTargetLeftAlone) {
  const std::string target = temporary_.PathOf("target");
  WriteFile(target, "precious");
  ASSERT_EQ(symlink(target.c_str(), LockPath().c_str()), 0);
  ExpectRefused();
  EXPECT_EQ(ReadFile(target), "precious");
}

TEST_F(LockFile, ThatIsASymbolicLinkToNothingIsRefusedAndCreatesNothing) {
  ASSERT_EQ(symlink(temporary_.PathOf("absent").c_str(), LockPath().c_str()), 0);
  ExpectRefused();
  EXPECT_FALSE(Exists(temporary_.PathOf("absent")));
}

// A backup by hard links, as cp -al makes it.
TEST_F(LockFile, WithASecondNameIsUsedWhereNobodyElseMayWriteToTheDirectory) {
  WriteFile(LockPath(), "");
  ASSERT_EQ(link(LockPath().c_str(), temporary_.PathOf("backup").c_str()), 0);
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(LockFile, WithASecondNameIsRefusedAndLeftAloneWhereAGroupMayWriteToTheDirectory) {
  const std::string target = PathOf("target");
  ASSERT_EQ(chmod(HostPath().c_str(), 0770), 0);
  WriteFile(target, "precious");
  ASSERT_EQ(link(target.c_str(), LockPath().c_str()), 0);
  ExpectRefused();
  EXPECT_EQ(ReadFile(target), "precious");
}

TEST_F(LockFile, OfAForeignOwnerIsRefused) {
  Machine::NeedRoot();
  WriteFile(LockPath(), "");
  ASSERT_EQ(chown(LockPath().c_str(), kStranger, kReaders), 0);
  ExpectRefused();
}

TEST_F(LockFile, OfTheDirectorysOwnerIsUsedByRoot) {
  Machine::NeedRoot();
  WriteFile(LockPath(), "");
  ASSERT_EQ(chown(LockPath().c_str(), kStranger, kReaders), 0);
  ASSERT_EQ(chown(HostPath().c_str(), kStranger, kReaders), 0);
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(LockFile, ThatIsAPipeIsRefusedWithoutWaitingForItsOtherEnd) {
  ASSERT_EQ(mkfifo(LockPath().c_str(), 0600), 0);
  ExpectRefused();
}

TEST_F(LockFile, ThatIsADirectoryIsRefused) {
  ASSERT_EQ(mkdir(LockPath().c_str(), 0700), 0);
  ExpectRefused(kIoError);
}

}  // namespace
}  // namespace PlatformTest
