// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Coarse clocks, which are read without a system call.
#ifndef PLATFORM_SRC_OS_COARSE_CLOCK_H_
#define PLATFORM_SRC_OS_COARSE_CLOCK_H_

#include <cstdint>
#include <ctime>

namespace HostPlatform::Io {

inline std::int64_t Nanoseconds(const struct timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// Time of the last tick of the system's timer, every 1 to 10 ms; the same in all processes.
inline std::int64_t CoarseTime(clockid_t clock) {
  struct timespec now = {};
  clock_gettime(clock, &now);
  return Nanoseconds(now);
}

// Identifies the present tick; never goes back.
inline std::int64_t PresentTick() {
  return CoarseTime(CLOCK_MONOTONIC_COARSE);
}

// The clock from which local file systems take a file's times.
inline std::int64_t CoarseRealTime() {
  return CoarseTime(CLOCK_REALTIME_COARSE);
}

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_OS_COARSE_CLOCK_H_
