// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Keeps signals from ending or stopping the process half-way through a change.
#ifndef TOOLS_QUORCTL_SIGNAL_BLOCK_H_
#define TOOLS_QUORCTL_SIGNAL_BLOCK_H_

#include <csignal>

namespace Quorctl {

// While there is one, the signals by which terminals and services end or stop a process wait. What
// has come meanwhile is delivered by the destructor, or by ReleaseKept() after Keep(). For the
// calling thread alone: every other thread has to block them too (those made meanwhile do), or it
// would take them.
class SignalBlock {
 public:
  SignalBlock() noexcept;
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;
  ~SignalBlock();

  // With true, leaves the signals to ReleaseKept(), so that the result is printed before one of
  // them ends the process.
  void Keep(bool kept) { kept_ = kept; }
  static void ReleaseKept();

  // One of those that wait and would end the process; 0 for none.
  static int PendingSignal();

 private:
  bool kept_ = false;
  sigset_t originalMask_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_SIGNAL_BLOCK_H_
