// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The clocks that calls look at: read from memory, without a system call.
#ifndef PLATFORM_SRC_IO_COARSE_CLOCK_H_
#define PLATFORM_SRC_IO_COARSE_CLOCK_H_

#include <cstdint>
#include <ctime>

namespace HostPlatform::Io {

inline std::int64_t Nanoseconds(const struct timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// As it was at the last tick of the system's timer, which comes every 1 to 10 ms, for all processes
// of the host at once.
inline std::int64_t CoarseTime(clockid_t clock) {
  struct timespec now = {};
  clock_gettime(clock, &now);
  return Nanoseconds(now);
}

// Tells one tick from all others: it never goes back.
inline std::int64_t PresentTick() {
  return CoarseTime(CLOCK_MONOTONIC_COARSE);
}

// The clock of a local file system's times.
inline std::int64_t CoarseRealTime() {
  return CoarseTime(CLOCK_REALTIME_COARSE);
}

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_COARSE_CLOCK_H_
