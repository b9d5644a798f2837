// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Several quorctl that change one host take turns.
#ifndef TOOLS_QUORCTL_CHANGE_TURN_H_
#define TOOLS_QUORCTL_CHANGE_TURN_H_

#include "lock_wait.h"

namespace Quorctl {

// Held from the last look at the catalogue to the end of its replacement, which takes several calls
// of the library: another quorctl between them would replace a catalogue that nobody has kept.
class ChangeTurn {
 public:
  // Waits with `wait`, and raises what it raises. Only the owner can open the history's lock file;
  // other users' changes take no turns and start at once.
  explicit ChangeTurn(LockWait* wait);
  ChangeTurn(const ChangeTurn&) = delete;
  ChangeTurn& operator=(const ChangeTurn&) = delete;
  ~ChangeTurn();

 private:
  int file_ = -1;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHANGE_TURN_H_
