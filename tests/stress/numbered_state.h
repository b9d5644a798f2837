// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A stored state that bears one number in many places, in one of the host's files: whatever happens
// to its writers, a reader must find the same number everywhere.
#ifndef TESTS_STRESS_NUMBERED_STATE_H_
#define TESTS_STRESS_NUMBERED_STATE_H_

#include <functional>
#include <memory>
#include <string>

namespace StressTest {

class NumberedState {
 public:
  // In the configuration store ("store"), the configuration file ("file"), the feature switches
  // ("switches") or numbered files ("history") of this process's host directory. Raises
  // std::invalid_argument for another name.
  static std::unique_ptr<NumberedState> Of(const std::string& store);
  virtual ~NumberedState() = default;

  // Whether it is the name of a file that a commit which came to no end leaves, and the next one
  // removes.
  virtual bool IsLeftover(const std::string& name) const = 0;

  // The number of the stored state; 0 when nothing is stored. Raises when it is no whole state, and
  // whatever the store raises.
  virtual int Read() const = 0;

  // Commits the state that follows the stored one and returns its number, which it tells before.
  virtual int Advance(const std::function<void(int)>& begins) const = 0;
};

}  // namespace StressTest

#endif  // TESTS_STRESS_NUMBERED_STATE_H_
