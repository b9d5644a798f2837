// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A coarse monotonic clock on which a second has passed at every look: each call finds that what it
// knew may have changed, and asks the system. With the system's own clock it depends on the tick
// whether a lookup makes the calls that are to fail.
#include <dlfcn.h>

#include <atomic>
#include <ctime>

namespace {

using ClockFunction = int(clockid_t, timespec*);

std::atomic<time_t> seconds{1000};

ClockFunction* SystemClock() {
  static auto* const function = reinterpret_cast<ClockFunction*>(dlsym(RTLD_NEXT, "clock_gettime"));
  return function;
}

}  // namespace

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" [[gnu::visibility("default")]] int clock_gettime(clockid_t clock,
                                                            timespec* time) noexcept {
  if (clock != CLOCK_MONOTONIC_COARSE) return SystemClock()(clock, time);
  *time = {++seconds, 0};
  return 0;
}
