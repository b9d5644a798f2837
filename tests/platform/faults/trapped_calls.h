// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every system call of this process under the test's hand, wherever it is made: by the library, by
// the platform, or on their behalf within the C and C++ libraries, where no function of the test
// program could take another's place (the directory that is listed, the link that is resolved, the
// group that is looked up, the memory that malloc() asks for).
//
// The kernel itself turns each system call into a signal, so that none can be missed. Left alone
// are only those that start, end or wait for a process, and those of signals, which the signal
// needs; and those within a sanitizer's own runtime. Calls that cannot fail (getpid(), geteuid())
// never do.
#ifndef TESTS_PLATFORM_FAULTS_TRAPPED_CALLS_H_
#define TESTS_PLATFORM_FAULTS_TRAPPED_CALLS_H_

#include <array>
#include <string>

namespace PlatformTest {

// Which calls fail while they are watched.
struct FailurePlan {
  int first = 0;         // counted from 1; 0: none
  bool forEver = false;  // that one only, or from then on
  // What they fail with. 0: they succeed, but move half of the bytes; only calls that move more
  // than one byte are counted then.
  int error = 0;
};

// What was called while it was watched.
struct WatchedCalls {
  static constexpr int kRoom = 64;

  int made = 0;                           // that were counted
  int failed = 0;                         // or were cut short
  bool removalFailed = false;             // one that would have removed a file
  bool flushFailed = false;               // for good: not one that was interrupted
  std::array<long, kRoom> failedCalls{};  // the first ones, by number
};

// From now on, for good. Raises std::system_error where the system does not have it.
void TrapSystemCalls();

// Calls are counted, and fail as planned, until StopWatching(). A close() or munmap() that fails
// has done its work, as the system's own have.
void WatchCalls(const FailurePlan& plan);
WatchedCalls StopWatchingCalls();

std::string NameOfCall(long number);

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_FAULTS_TRAPPED_CALLS_H_
