// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The agent's schedule, spread at random so that hosts do not act at the same time.
#ifndef TOOLS_QUOR_AGENT_TIMING_H_
#define TOOLS_QUOR_AGENT_TIMING_H_

#include <chrono>
#include <cstdint>
#include <random>

namespace QuorAgent {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

inline milliseconds SecondsOf(double seconds) {
  return milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

class Chance {
 public:
  // A random time from `least` to `most` seconds.
  milliseconds Between(double least, double most) {
    return SecondsOf(std::uniform_real_distribution<double>(least, most)(engine_));
  }

 private:
  std::minstd_rand engine_{std::random_device()()};
};

// Waits after successive failures: 0.25 s, doubled each time up to 30 s; the actual wait is between
// half of that and all of it.
class BackOff {
 public:
  milliseconds Next(Chance* chance) {
    const double wait = next_;
    next_ = next_ < kLongest / 2 ? next_ * 2 : kLongest;
    return chance->Between(wait / 2, wait);
  }
  void Reset() { next_ = kFirst; }

 private:
  static constexpr double kFirst = 0.25;
  static constexpr double kLongest = 30;
  double next_ = kFirst;
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_TIMING_H_
