// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "lock_wait.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "history.h"
#include "platform/admin.h"
#include "signal_block.h"

namespace Quorctl {
namespace {

constexpr std::uint32_t kTurn = 100;  // milliseconds: a signal is to be obeyed within 200
constexpr auto kRetryPause = std::chrono::milliseconds(5);

// The deadline of the platform's own waiting, shortened for one call.
class ShortTurn {
 public:
  ShortTurn() { HostPlatform::UseLockTimeout(std::min(timeout_, kTurn)); }
  ShortTurn(const ShortTurn&) = delete;
  ShortTurn& operator=(const ShortTurn&) = delete;
  ~ShortTurn() { HostPlatform::UseLockTimeout(timeout_); }

 private:
  const std::uint32_t timeout_ = HostPlatform::LockTimeout();
};

struct HeldLock {
  std::string path;
  std::string holder;
};

std::optional<HeldLock> FindHeldLock() {
  for (const HostPlatform::LockState& lock : HostPlatform::GetLockStates()) {
    if (lock.held) return HeldLock{lock.path, lock.holder};
  }
  return std::nullopt;
}

// True if the lock of the history, which is neither of the host's two, was held too long.
bool IsHistoryBusy(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const std::system_error& error) {
    return error.code() == std::errc::device_or_resource_busy;
  } catch (...) {
    return false;
  }
}

}  // namespace

void LockWait::Do(const std::string& step, const std::function<void()>& call) {
  bool wasFree = false;
  progress_->Begin(step);
  for (;;) {
    const auto turnBegan = Clock::now();
    try {
      const ShortTurn shortened;
      return call();
    } catch (...) {
      // A call that failed within its turn did not wait in vain. One that did may find the lock
      // free by now.
      if (Clock::now() - turnBegan <
          std::chrono::milliseconds(std::min(HostPlatform::LockTimeout(), kTurn))) {
        throw;
      }
      if (IsHistoryBusy(std::current_exception())) {
        GoOn(HistoryDirectory() + "/.lock", "another quorctl");
        continue;
      }
      std::optional<HeldLock> lock = FindHeldLock();
      if (!lock && std::exchange(wasFree, true)) throw;
      for (; lock; lock = FindHeldLock())
        Pause(lock->path, lock->holder);
      progress_->Begin(step);
    }
  }
}

void LockWait::Pause(const std::string& lock, const std::string& holder) {
  GoOn(lock, holder);
  std::this_thread::sleep_for(kRetryPause);
}

void LockWait::GoOn(const std::string& lock, const std::string& holder) {
  if (SignalBlock::PendingSignal() != 0) {
    throw WaitEnded(ExitStatus::kNotConfirmed, "interrupted while waiting for " + holder +
                                                   ", which holds " + lock +
                                                   "; nothing was changed");
  }
  const std::uint32_t timeout = HostPlatform::LockTimeout();
  if (Clock::now() - began_ >= std::chrono::milliseconds(timeout)) {
    throw WaitEnded(ExitStatus::kStore,
                    lock + ": still locked after " + std::to_string(timeout) + " ms by " + holder +
                        "; nothing was changed; try again when that one is done");
  }
  progress_->Begin("waiting for " + holder);
}

}  // namespace Quorctl
