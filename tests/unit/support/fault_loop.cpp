// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/fault_loop.h"

#include <algorithm>

namespace QuorTest {
namespace {

const std::string kUnlock = "Unlock";

// The first value that a listing reads of a record.
bool BeginsRecord(const std::string& line) {
  if (StartsWith(line, "GetValue quor_policies/")) return line.ends_with(" name: text");
  if (StartsWith(line, "GetValue quor_datastores/")) {
    return line.ends_with(" datastore_namespace: text");
  }
  if (StartsWith(line, "GetValue policy[")) return line.ends_with(" name: text");
  return StartsWith(line, "GetValue Datastore[") && line.ends_with(" url: text");
}

// A call before the first record of a listing or after the last one.
bool EnclosesRecords(const std::string& line) {
  return StartsWith(line, "GetStore") || StartsWith(line, "GetObjects") ||
         line == "GetInstances policy" || line == "GetInstances Datastore" || line == kUnlock;
}

}  // namespace

bool FaultRun::FailedToGetTheStore() const {
  return StartsWith(FailedCall(), "GetStore");
}

bool FaultRun::FailedToLockTheFile() const {
  return FailedCall() == "SynchronizedConfigFile";
}

Lines FaultRun::UpToTheFailure() const {
  return UpToTheFailureAndFrom(undisturbed.size());
}

Lines FaultRun::UpToTheFailureAndFrom(std::size_t resumed) const {
  Lines expected;
  for (std::size_t i = 0; i < undisturbed.size(); ++i) {
    if (i <= failed || i >= resumed) expected.push_back(undisturbed[i]);
  }
  return expected;
}

std::size_t FaultRun::EndOfRecord() const {
  std::size_t begin = failed;
  while (!BeginsRecord(undisturbed[begin])) {
    if (begin == 0 || EnclosesRecords(undisturbed[begin])) return 0;
    --begin;
  }
  std::size_t end = begin + 1;
  while (end < undisturbed.size() && !BeginsRecord(undisturbed[end]) &&
         !EnclosesRecords(undisturbed[end])) {
    ++end;
  }
  return end;
}

Lines StoreCalls() {
  static const Lines kUtilities = {"CryptoHash_", "Str_Sprintf", "StrPrintf", "StrCat", "Base64_"};
  Lines calls;
  for (const std::string& line : ThePlatform().log) {
    const bool isUtility =
        std::any_of(kUtilities.begin(), kUtilities.end(),
                    [&line](const std::string& name) { return StartsWith(line, name); });
    if (!isUtility) calls.push_back(line);
  }
  return calls;
}

void FaultTest::ForEveryFailingCall(const std::function<void()>& prepare,
                                    const std::function<void()>& operation,
                                    const std::function<void(const FaultRun&)>& check) {
  RestartPlatform();
  prepare();
  operation();
  FaultRun run{GetParam(), StoreCalls(), 0, Outcome()};
  ASSERT_FALSE(run.undisturbed.empty());

  // One round more than there are calls, in which nothing fails.
  for (run.failed = 0; run.failed <= run.undisturbed.size(); ++run.failed) {
    const bool fails = run.failed < run.undisturbed.size();
    if (fails && run.FailedCall() == kUnlock) continue;
    RestartPlatform();
    prepare();
    bool fired = false;
    ThePlatform().duringStoreCall = [&fired, &run](int call, const std::string&) {
      if (static_cast<std::size_t>(call) != run.failed + 1) return;
      fired = true;
      Raise(run.failure);
    };
    run.outcome = Attempt(operation);
    ASSERT_EQ(fired, fails);
    if (!fails) {
      EXPECT_EQ(run.outcome, Outcome());
      EXPECT_EQ(StoreCalls(), run.undisturbed);
      return;
    }
    SCOPED_TRACE("failed: " + run.FailedCall());
    check(run);
    run.outcome = Outcome();
    ExpectNothingIsKept();
    if (HasFailure()) return;
  }
}

}  // namespace QuorTest
