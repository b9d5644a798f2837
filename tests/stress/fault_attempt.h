// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// One call of an operation, with system calls or allocations that fail meanwhile.
#ifndef TESTS_STRESS_FAULT_ATTEMPT_H_
#define TESTS_STRESS_FAULT_ATTEMPT_H_

#include <functional>
#include <string>

#include "fault_operations.h"
#include "faults/failing_allocations.h"
#include "faults/trapped_calls.h"

namespace StressTest {

// What fails; mostly one of the two.
struct FaultPlan {
  PlatformTest::FailurePlan calls;
  PlatformTest::AllocationPlan allocations;
};

std::string NameOf(const FaultPlan& plan);

struct Attempt {
  enum class Outcome { kSuccess, kFailureOfTheStore, kSystemError, kBadAlloc, kAnythingElse };

  Outcome outcome = Outcome::kSuccess;
  std::string message;  // of what was raised
  bool keptErrno = true;
  Answers answers;
  PlatformTest::WatchedCalls calls;
  PlatformTest::WatchedAllocations allocations;

  bool Failed() const { return outcome != Outcome::kSuccess; }
  // Whether anything failed underneath.
  bool WasDisturbed() const { return calls.failed + allocations.failed > 0; }
};

// The operation's exception is that of `store`.
Attempt Try(const Operation& operation, const FaultPlan& plan, const std::string& store);

// Runs the body in a child process. True when that ended the child as it may: by memory that runs
// out while a formatter puts together a text to digest. Raises std::runtime_error when the child
// ended in another way.
bool EndsTheProcess(const std::function<void()>& body);

// From now on a round that ends the process, or does not end in time, says which it was.
void WatchOverRounds();
void BeginRound(const std::string& description);

}  // namespace StressTest

#endif  // TESTS_STRESS_FAULT_ATTEMPT_H_
