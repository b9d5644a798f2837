// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What happens to a lock between two steps of taking it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <string>

#include "errors/error.h"
#include "faults/system_calls.h"
#include "os/directory.h"
#include "os/file_lock.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace std::chrono_literals;
using HostPlatform::Io::Directory;
using HostPlatform::Io::Error;
using HostPlatform::Io::ErrorKind;
using HostPlatform::Io::FileLock;

constexpr char kName[] = "some.lock";

// A child that was made without the fork handlers of the C library, as some runtimes do: it has a
// copy of every descriptor. Killed when this goes.
class RawClone {
 public:
  RawClone()
      : pid_(static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr))) {
    if (pid_ == 0) {
      for (;;)
        pause();
    }
  }
  RawClone(const RawClone&) = delete;
  RawClone& operator=(const RawClone&) = delete;
  ~RawClone() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }

  bool Lives() const { return pid_ > 0; }

 private:
  pid_t pid_;
};

class Lock : public HostTest {
 protected:
  Lock() : directory_(HostPath()) {}

  std::string Path() const { return PathOf(kName); }

  // What taking the lock says; "" when it was taken, and given back at once. `hook` is called
  // before each call with the name, of those on the lock file.
  std::string Take(std::chrono::milliseconds deadline, const std::string& name = "",
                   const std::function<void()>& hook = nullptr) const {
    Watch([&](const SystemCall& call) {
      if (call.name == name && call.path == kName) hook();
      return 0;
    });
    std::string message;
    try {
      const FileLock lock(directory_, kName, deadline);
      EXPECT_TRUE(lock.HeldByThisProcess());
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), ErrorKind::kBusy);
      message = error.what();
    }
    Stop();
    return message;
  }

  Directory directory_;
};

TEST_F(Lock, WaiterThatGivesUpKeepsNothingInACopyOfItsDescriptor) {
  auto holder = std::make_unique<FileLock>(directory_, kName, 0ms);
  std::unique_ptr<RawClone> copy;
  int tries = 0;
  // Both bytes, then the gate, then the data: the gate is held at the third.
  const std::string message = Take(0ms, "lock", [&] {
    if (++tries == 3) copy = std::make_unique<RawClone>();
  });
  EXPECT_NE(message.find("still locked"), std::string::npos) << message;
  ASSERT_TRUE(copy && copy->Lives());
  holder.reset();
  EXPECT_EQ(Take(0ms), "") << "while the copy lives";
}

TEST_F(Lock, FileThatWasReplacedMeanwhileStaysLockedInNoCopyOfItsDescriptor) {
  Take(0ms);
  const int replaced = open(Path().c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(replaced, 0);
  std::unique_ptr<RawClone> copy;
  const std::string message = Take(20s, "lock", [&] {
    if (copy) return;
    copy = std::make_unique<RawClone>();
    ReplaceFile(Path(), "");
  });
  EXPECT_EQ(message, "");
  ASSERT_TRUE(copy && copy->Lives());
  struct flock everything = {};
  everything.l_type = F_WRLCK;
  everything.l_whence = SEEK_SET;
  EXPECT_EQ(fcntl(replaced, F_OFD_SETLK, &everything), 0) << "others may be waiting for it";
  close(replaced);
}

// It may be anybody's: only a file of its own making gets the directory's owner and a mode.
TEST_F(Lock, FileThatAppearsWhileItIsToBeMadeIsLockedAsItIs) {
  int opens = 0;
  const std::string message = Take(20s, "open", [&] {
    if (++opens != 2) return;
    WriteFile(Path(), "");
    ASSERT_EQ(chmod(Path().c_str(), 0640), 0);
  });
  EXPECT_EQ(message, "");
  EXPECT_GE(opens, 2);
  EXPECT_EQ(ModeOf(Path()), 0640U);
}

TEST_F(Lock, FileThatIsReplacedAgainAndAgainIsBusyInTheEnd) {
  Take(0ms);
  int times = 0;
  const std::string message = Take(0ms, "lock", [&] {
    if (++times <= 1000) ReplaceFile(Path(), "");
  });
  EXPECT_LT(times, 1000);
  EXPECT_NE(message.find(Path()), std::string::npos) << message;
  EXPECT_NE(message.find("removed or replaced"), std::string::npos) << message;
  EXPECT_EQ(Take(0ms), "");
}

TEST_F(Lock, FileThatIsReplacedSeveralTimesIsLockedBeforeTheDeadline) {
  Take(0ms);
  int times = 0;
  const std::string message = Take(20s, "fstat", [&] {
    if (++times <= 3) ReplaceFile(Path(), "");
  });
  EXPECT_EQ(message, "");
  EXPECT_EQ(times, 4);
}

}  // namespace
}  // namespace PlatformTest
