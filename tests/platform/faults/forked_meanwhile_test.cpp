// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Forks of one thread while another is in the middle of a call.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "faults/system_calls.h"
#include "support/child_process.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace std::chrono_literals;
using ForkedMeanwhile = HostTest;

// The file is open, and nobody has noted yet that a child is to close it.
TEST_F(ForkedMeanwhile, ChildOfAThreadBesideOneThatOpensAFileHasNoCopyAndCanCall) {
  Put(OpenStore(), "a", "old");
  std::thread forker;
  std::atomic<bool> done{false};
  Watch();
  CallAfterOpens([&] {
    if (forker.joinable()) return;
    forker = std::thread([&] {
      RunInChild([this] {
        Stop();
        alarm(60);
        EXPECT_EQ(OpenBelow(HostPath()), Texts{});
        EXPECT_EQ(Get(OpenStore(), "a"), "old");
        Put(OpenStore(), "a", "new");
      });
      done = true;
    });
    // The fork waits for the opener, or is done by then.
    for (int i = 0; i < 20 && !done; ++i)
      std::this_thread::sleep_for(10ms);
  });
  StartAfresh();
  OpenStore();
  Stop();
  ASSERT_TRUE(forker.joinable());
  forker.join();
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

}  // namespace
}  // namespace PlatformTest
