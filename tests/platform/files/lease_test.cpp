// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A file server's lease on a stored file: the system asks it back when somebody else opens the
// file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "support/child_process.h"
#include "support/host_test.h"
#include "zynctl/config_file.h"

namespace PlatformTest {
namespace {

constexpr unsigned kMicroseconds = 100'000;

class Lease : public HostTest {
 protected:
  // In a process that has a lease on the file from Open() on; it gives it back a while after it is
  // asked to, or never.
  static void Hold(const std::string& path, bool givesBack, Gate* held) {
    sigset_t asked;
    sigemptyset(&asked);
    sigaddset(&asked, SIGIO);
    sigprocmask(SIG_BLOCK, &asked, nullptr);
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(fcntl(fd, F_SETLEASE, F_WRLCK), 0);
    held->Open();
    int signal = 0;
    sigwait(&asked, &signal);
    if (!givesBack) pause();
    usleep(kMicroseconds);
    ASSERT_EQ(fcntl(fd, F_SETLEASE, F_UNLCK), 0);
    pause();
  }
};

TEST_F(Lease, IsWaitedFor) {
  Put(OpenStore(), "a", "old");
  for (const std::string& path : {SnapshotPath(), LockPath()}) {
    StartAfresh();
    Gate held;
    ChildProcess server([&] { Hold(path, true, &held); });
    ASSERT_TRUE(held.Wait()) << path;
    EXPECT_EQ(Get(OpenStore(), "a"), "old") << path;
    EXPECT_EQ(WriteCode(), kNothing) << path;
  }
}

TEST_F(Lease, OfTheConfigurationFileIsWaitedFor) {
  const auto write = [] {
    const ZynCtl::Config::SynchronizedConfigFile locked;
    locked.file->GetBranch("/a")->SetValue("key", std::string("value"));
    locked.file->Write();
  };
  write();
  StartAfresh();
  Gate held;
  ChildProcess server([&] { Hold(PathOf("host-config.json"), true, &held); });
  ASSERT_TRUE(held.Wait());
  EXPECT_NO_THROW(write());
}

TEST_F(Lease, ThatIsNotGivenBackIsBusyAtTheDeadline) {
  Put(OpenStore(), "a", "old");
  StartAfresh();
  Gate held;
  ChildProcess server([&] { Hold(SnapshotPath(), false, &held); });
  ASSERT_TRUE(held.Wait());
  HostPlatform::UseLockTimeout(50);
  std::string message;
  EXPECT_EQ(OpenCode(&message), TavConfigStore::kBusy);
  EXPECT_NE(message.find("lease"), std::string::npos) << message;
}

}  // namespace
}  // namespace PlatformTest
