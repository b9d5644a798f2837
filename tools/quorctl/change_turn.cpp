// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "change_turn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <string>

#include "history.h"

namespace Quorctl {
ChangeTurn::ChangeTurn(LockWait* wait) {
  const std::string path = HistoryDirectory() + "/.lock";
  file_ = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file_ == -1) return;
  // Not the kind of lock that numbers are given under: to keep a catalogue needs no turn.
  try {
    while (flock(file_, LOCK_EX | LOCK_NB) != 0)
      wait->Pause(path, "another quorctl that changes the catalogue");
  } catch (...) {
    close(file_);
    throw;
  }
}

ChangeTurn::~ChangeTurn() {
  if (file_ != -1) close(file_);
}

}  // namespace Quorctl
