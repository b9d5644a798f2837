// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A point in time by which work must be done.
#ifndef TOOLS_FLEET_DEADLINE_H_
#define TOOLS_FLEET_DEADLINE_H_

#include <algorithm>
#include <chrono>

namespace QuorFleet {

class Deadline {
 public:
  using Clock = std::chrono::steady_clock;

  static Deadline In(std::chrono::milliseconds time) { return Deadline(Clock::now() + time); }

  // The earlier of this deadline and one in `time` from now.
  Deadline Within(std::chrono::milliseconds time) const {
    return Deadline(std::min(at_, Clock::now() + time));
  }

  // Not below zero.
  std::chrono::milliseconds Remaining() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(at_ - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
  }

  bool HasPassed() const { return Clock::now() >= at_; }

 private:
  explicit Deadline(Clock::time_point at) : at_(at) {}

  Clock::time_point at_;
};

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_DEADLINE_H_
