// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which mutation a program runs with, in the build of scripts/mutate.
#ifndef TESTS_MUTATIONS_CHOSEN_H_
#define TESTS_MUTATIONS_CHOSEN_H_

#include <cstdlib>

namespace QuorMutation {

// True when QUOR_MUTATION is that number. Without the variable no mutation is chosen.
inline bool Chosen(int number) {
  static const char* const text = std::getenv("QUOR_MUTATION");
  static const int chosen = text != nullptr ? std::atoi(text) : 0;
  return number == chosen;
}

}  // namespace QuorMutation

#endif  // TESTS_MUTATIONS_CHOSEN_H_
