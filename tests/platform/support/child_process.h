// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Other processes, for tests of what processes do to each other.
#ifndef TESTS_PLATFORM_SUPPORT_CHILD_PROCESS_H_
#define TESTS_PLATFORM_SUPPORT_CHILD_PROCESS_H_

#include <sys/types.h>

#include <functional>
#include <vector>

namespace PlatformTest {

// A forked child that runs `body` and then ends without running anything else of the program. A
// failed expectation in the body, or an exception that leaves it, is printed and makes the child
// fail. Killed and reaped at the latest when this goes.
class ChildProcess {
 public:
  explicit ChildProcess(const std::function<void()>& body);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  pid_t pid() const { return pid_; }
  void Stop();      // by SIGSTOP; returns when it has stopped
  void Continue();  // by SIGCONT
  void Kill();      // by SIGKILL; returns when it is gone
  // Waits for its end; true when it ended by itself and nothing failed in it.
  bool Succeeds();

 private:
  int WaitFor(int options);

  pid_t pid_;
  bool reaped_ = false;
};

// Runs `body` in a child and expects it to succeed there.
void RunInChild(const std::function<void()>& body);

// One process lets another go on. Made before the fork, known to both sides after it.
class Gate {
 public:
  Gate();
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  ~Gate();

  void Open();  // lets one waiter through
  // False when nobody opened it in 30 s: the other side has died.
  bool Wait();

 private:
  int event_;
};

// Makes this process one of that user for good, in these groups only (the first is its primary
// one). Meant for children.
void BecomeUser(uid_t user, const std::vector<gid_t>& groups);

inline constexpr uid_t kStranger = 54321;
inline constexpr uid_t kOtherStranger = 54322;
inline constexpr gid_t kReaders = 54323;    // the host directory's group in tests of it
inline constexpr gid_t kOutsiders = 54324;  // another group

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_SUPPORT_CHILD_PROCESS_H_
