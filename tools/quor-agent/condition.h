// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The state of the host, as it is logged, counted and reported to the centre.
#ifndef TOOLS_QUOR_AGENT_CONDITION_H_
#define TOOLS_QUOR_AGENT_CONDITION_H_

#include <array>
#include <string>

namespace QuorAgent {

enum class State { kWaiting, kApplied, kDrift, kHeld, kRefused, kFailed };  // the worst is last

// In the order of State.
inline constexpr std::array<const char*, 6> kStateNames = {"waiting", "applied", "drift",
                                                           "held",    "refused", "failed"};

inline std::string NameOf(State state) {
  return kStateNames.at(static_cast<std::size_t>(state));
}

struct Condition {
  State state = State::kApplied;
  std::string kind;    // "lower release", "hash": one of few, for counting
  std::string reason;  // with what to do; empty where nothing is wrong

  bool operator==(const Condition&) const = default;
};

inline const Condition& Worse(const Condition& a, const Condition& b) {
  return a.state < b.state ? b : a;
}

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_CONDITION_H_
