// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Forks of one thread while another is in the middle of a call.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>

#include "faults/system_calls.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/shared.h"

namespace PlatformTest {
namespace {

using namespace std::chrono_literals;
using ForkedMeanwhile = HostTest;

// The file is open, and nobody has noted yet that a child is to close it.
TEST_F(ForkedMeanwhile, ChildOfAThreadBesideOneThatOpensAFileIsNotWaitedForAndCanCall) {
  Put(OpenStore(), "a", "old");
  std::thread forker;
  std::atomic<bool> done{false};
  bool doneMeanwhile = false;
  Watch();
  CallAfterOpens([&] {
    if (forker.joinable()) return;
    forker = std::thread([&] {
      RunInChild([] {
        Stop();
        alarm(60);
        EXPECT_EQ(Get(OpenStore(), "a"), "old");
        Put(OpenStore(), "a", "new");
      });
      done = true;
    });
    for (int i = 0; i < 2000 && !done; ++i)
      std::this_thread::sleep_for(10ms);
    doneMeanwhile = done;
  });
  StartAfresh();
  OpenStore();
  Stop();
  ASSERT_TRUE(forker.joinable());
  forker.join();
  EXPECT_TRUE(doneMeanwhile);
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

// A signal handler forks within the opening of a file: the child has a copy that it does not know,
// and outlives its parent.
TEST_F(ForkedMeanwhile, ChildDoesNotKeepTheLockWhoseFileWasBeingOpened) {
  Put(OpenStore(), "a", "old");
  const Shared<std::atomic<bool>> finished;
  Gate locked;
  ChildProcess writer([&] {
    std::string opened;
    bool forked = false;
    Watch([&](const SystemCall& call) {
      if (call.name == "open") opened = call.path;
      return 0;
    });
    CallAfterOpens([&] {
      // Not when it is opened again: that nobody forks each time.
      if (opened != "config-store.lock" || std::exchange(forked, true) || fork() != 0) return;
      alarm(60);
      while (!*finished)
        usleep(1000);
      _exit(0);
    });
    const Store store = OpenStore();
    store->BeginTransaction();
    locked.Open();
    pause();
  });
  ASSERT_TRUE(locked.Wait());
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), TavConfigStore::kBusy);
  writer.Kill();
  EXPECT_EQ(WriteCode(), kNothing);
  *finished = true;
}

// The directory, the lock, what is read: each is one opening, and one more where it is repeated.
TEST_F(ForkedMeanwhile, ProcessThatIsForkedAtEveryOpeningGoesOn) {
  Put(OpenStore(), "a", "old");
  RunInChild([] {
    alarm(60);
    Watch();
    CallAfterOpens([] {
      if (fork() == 0) _exit(0);
    });
    Put(OpenStore(), "a", "new");
    Stop();
  });
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

// Its children run no fork handlers, and do not know the file that is open.
TEST_F(ForkedMeanwhile, ChildThatRunsNoForkHandlersCanCall) {
  Put(OpenStore(), "a", "old");
  bool succeeded = false;
  Watch();
  CallAfterOpens([&] {
    const pid_t child = _Fork();
    if (child == 0) {
      Stop();
      alarm(60);
      _exit(Get(OpenStore(), "a") == "old" && WriteCode() == kNothing ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    succeeded = status == 0;
  });
  StartAfresh();
  OpenStore();
  Stop();
  EXPECT_TRUE(succeeded);
}

}  // namespace
}  // namespace PlatformTest
