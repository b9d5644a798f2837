// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "change_turn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "exit_status.h"
#include "history.h"
#include "platform/admin.h"

namespace Quorctl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPause = std::chrono::milliseconds(2);

}  // namespace

ChangeTurn::ChangeTurn() {
  const std::string path = HistoryDirectory() + "/.lock";
  file_ = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file_ == -1) return;
  // Not the kind of lock that numbers are given under: to keep a catalogue needs no turn.
  const auto giveUp = Clock::now() + std::chrono::milliseconds(HostPlatform::LockTimeout());
  while (flock(file_, LOCK_EX | LOCK_NB) != 0) {
    if (Clock::now() >= giveUp) {
      close(file_);
      throw CommandError(ExitStatus::kStore,
                         "another quorctl is still changing the catalogue after " +
                             std::to_string(HostPlatform::LockTimeout()) +
                             " ms; nothing was changed; try again");
    }
    std::this_thread::sleep_for(kPause);
  }
}

ChangeTurn::~ChangeTurn() {
  if (file_ != -1) close(file_);
}

}  // namespace Quorctl
