// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The newest version that a process keeps, changed while a thread is about to hand on the former.
#include "os/newest.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <memory>

#include "faults/failing_allocations.h"

namespace PlatformTest {
namespace {

int theProcessor = -1;  // that the process is said to run on; below 0: the one it does

}  // namespace
}  // namespace PlatformTest

// In the place of the C library's.
extern "C" __attribute__((visibility("default"))) int sched_getcpu() noexcept {
  if (PlatformTest::theProcessor >= 0) return PlatformTest::theProcessor;
  unsigned processor = 0;
  return syscall(SYS_getcpu, &processor, nullptr, nullptr) == 0 ? static_cast<int>(processor) : -1;
}

namespace PlatformTest {
namespace {

TEST(NewestVersion, IsNotReplacedByTheFormerThatAThreadHasJustTaken) {
  HostPlatform::Io::Newest<int> newest;
  const auto next = std::make_shared<const int>(2);
  theProcessor = 1;
  newest.Set(std::make_shared<const int>(1));
  // The first thing that is allocated is this processor's count of the version's owners.
  WatchAllocations({1, false, [&] { newest.Set(next); }});
  EXPECT_EQ(*newest.Get(), 1);
  StopWatchingAllocations();
  EXPECT_EQ(*newest.Get(), 2);
  newest.Set(nullptr);
  theProcessor = -1;
}

}  // namespace
}  // namespace PlatformTest
