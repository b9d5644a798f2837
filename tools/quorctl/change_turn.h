// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Several quorctl that change one host take turns.
#ifndef TOOLS_QUORCTL_CHANGE_TURN_H_
#define TOOLS_QUORCTL_CHANGE_TURN_H_

#include "lock_wait.h"

namespace Quorctl {

// Held from the last look at the catalogue to the end of its replacement, which are several calls
// of the library: between them another quorctl would replace what nobody has kept.
class ChangeTurn {
 public:
  // Waits with `wait`, and raises what it does. Without the lock file
  // of the history, which only the owner can open, there is nothing to take turns by, and every
  // change goes on at once.
  explicit ChangeTurn(LockWait* wait);
  ChangeTurn(const ChangeTurn&) = delete;
  ChangeTurn& operator=(const ChangeTurn&) = delete;
  ~ChangeTurn();

 private:
  int file_ = -1;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHANGE_TURN_H_
