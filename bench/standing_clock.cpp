// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Loaded before the C library while instructions are counted: the coarse monotonic clock stands
// still but while somebody sleeps. Counting slows a call down, so that it would meet the tick in
// which the store looks at its file anew in one run and not in the next.
#include <dlfcn.h>

#include <atomic>
#include <ctime>

namespace {

constexpr long long kSecond = 1'000'000'000;
std::atomic<long long> standing{1000 * kSecond};

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
[[gnu::visibility("default")]] int clock_gettime(clockid_t clock, timespec* time) noexcept {
  static auto* const next = Next<int(clockid_t, timespec*)>("clock_gettime");
  if (clock != CLOCK_MONOTONIC_COARSE) return next(clock, time);
  const long long now = standing.load();
  time->tv_sec = static_cast<time_t>(now / kSecond);
  time->tv_nsec = static_cast<long>(now % kSecond);
  return 0;
}

[[gnu::visibility("default")]] int nanosleep(const timespec* time, timespec* left) {
  static auto* const next = Next<int(const timespec*, timespec*)>("nanosleep");
  standing += time->tv_sec * kSecond + time->tv_nsec;
  return next(time, left);
}

}  // extern "C"
