// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The first parser of a process, while another of its threads forks. A program of its own: a
// process makes one only once.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "faults/failing_allocations.h"
#include "support.h"
#include "support/shared.h"

namespace ConfigFileTest {
namespace {

using FirstParser = HostTest;

// Looks something up, and another thread forks before that allocates for the nth time. True when it
// did.
bool LookUpAndForkAt(int allocation) {
  std::thread forker;
  std::atomic<bool> done{false};
  PlatformTest::WatchAllocations({allocation, false, [&] {
                                    forker = std::thread([&] {
                                      RunInChild([] {
                                        alarm(20);
                                        EXPECT_EQ(Get("key"), "value");
                                      });
                                      done = true;
                                    });
                                    // A fork that waited for this thread would not be done by then.
                                    for (int i = 0; i < 50 && !done; ++i)
                                      std::this_thread::sleep_for(std::chrono::milliseconds(1));
                                  }});
  EXPECT_EQ(Get("key"), "value");
  PlatformTest::StopWatchingAllocations();
  if (!forker.joinable()) return false;
  forker.join();
  return true;
}

TEST_F(FirstParser, IsMadeByAChildThatIsForkedWhileItIsMade) {
  EditByHand(R"({"Host": {"Test": {"key": "value"}}})");
  const PlatformTest::Shared<std::atomic<bool>> forked;
  int allocations = 0;
  do {
    *forked = false;
    RunInChild([&] {
      alarm(60);
      *forked = LookUpAndForkAt(allocations + 1);
    });
    ++allocations;
  } while (*forked && !HasFailure());
  EXPECT_GT(allocations, 10);
}

}  // namespace
}  // namespace ConfigFileTest
