// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Fails the first, the second, the third ... call of an operation to the store or the file, one per
// run, until a run has no such call any more.
#ifndef TESTS_UNIT_SUPPORT_FAULT_LOOP_H_
#define TESTS_UNIT_SUPPORT_FAULT_LOOP_H_

#include <cstddef>
#include <functional>

#include "support/fixture.h"

namespace QuorTest {

// A run in which one call failed.
struct FaultRun {
  Failure failure;
  Lines undisturbed;   // the calls of the run without a fault
  std::size_t failed;  // which of them failed, counted from 0
  Outcome outcome;

  const std::string& FailedCall() const { return undisturbed[failed]; }
  bool FailedToGetTheStore() const;
  bool FailedToLockTheFile() const;

  // The undisturbed calls up to the failed one.
  Lines UpToTheFailure() const;

  // The same, and then the undisturbed calls from `resumed` on.
  Lines UpToTheFailureAndFrom(std::size_t resumed) const;

  // If the failed call is part of the reading of one listed record, the call after the last one of
  // that record; otherwise 0.
  std::size_t EndOfRecord() const;
};

// The logged calls that go to the store or the file, without digests, formatting and Base64.
Lines StoreCalls();

class FaultTest : public RecordingTest, public testing::WithParamInterface<Failure> {
 protected:
  // Runs `prepare`, `operation` and `check` once per call of `operation`, with that call failing.
  // Checks itself that nothing is alive afterwards, and that the loop reached the end of the
  // operation. Unlock(), which must not raise, is left out.
  void ForEveryFailingCall(const std::function<void()>& prepare,
                           const std::function<void()>& operation,
                           const std::function<void(const FaultRun&)>& check);
};

inline std::string FailureName(const testing::TestParamInfo<Failure>& parameter) {
  return NameOf(parameter.param);
}

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_FAULT_LOOP_H_
