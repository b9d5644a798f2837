// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a call raised, in a form that can be compared; and the failures that tests raise.
#ifndef TESTS_UNIT_SUPPORT_OUTCOME_H_
#define TESTS_UNIT_SUPPORT_OUTCOME_H_

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace QuorTest {

struct Outcome {
  std::string type;     // of the exception that was raised, exactly; empty when none was
  std::string message;  // its what()
  int code = 0;         // of the store's exceptions
  std::shared_ptr<const void> attachment;
  std::string detail;  // of an exception derived from the store's or the file's

  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out);

// Runs `call` and tells what it raised.
Outcome Attempt(const std::function<void()>& call);

// The types of exception that a call to the store or to the file is made to raise.
enum class Failure {
  kStoreException,         // ConfigStoreException
  kDerivedStoreException,  // a class derived from it
  kFileException,          // ConfigFileException
  kDerivedFileException,   // a class derived from it
  kBriskException,         // the base of both
  kBadAlloc,
  kLogicError,
};

std::vector<Failure> AllFailures();      // of the store
std::vector<Failure> AllFileFailures();  // of the file
std::string NameOf(Failure failure);
bool IsStoreFailure(Failure failure);
bool IsFileFailure(Failure failure);

// Raises an exception of that type, with an attachment that is the same object every time.
[[noreturn]] void Raise(Failure failure);

// What Attempt() tells of the exception itself.
Outcome Unchanged(Failure failure);

// What Attempt() tells of the copy that replaces a store failure.
Outcome CopyOf(Failure failure);

// How many owners the attachment has besides the test's own.
long AttachmentOwners();

}  // namespace QuorTest

#endif  // TESTS_UNIT_SUPPORT_OUTCOME_H_
