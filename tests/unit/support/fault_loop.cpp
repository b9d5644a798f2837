#include "support/fault_loop.h"

#include <algorithm>

namespace QuorTest {
namespace {

// The first value that a listing reads of a record.
bool BeginsRecord(const std::string& line) {
  if (StartsWith(line, "GetValue quor_policies/")) return line.ends_with(" name: text");
  return StartsWith(line, "GetValue quor_datastores/") &&
         line.ends_with(" datastore_namespace: text");
}

bool BeginsListing(const std::string& line) {
  return StartsWith(line, "GetStore") || StartsWith(line, "GetObjects");
}

}  // namespace

bool FaultRun::FailedToGetTheStore() const {
  return StartsWith(FailedCall(), "GetStore");
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
    if (begin == 0 || BeginsListing(undisturbed[begin])) return 0;
    --begin;
  }
  std::size_t end = begin + 1;
  while (end < undisturbed.size() && !BeginsRecord(undisturbed[end]) &&
         !BeginsListing(undisturbed[end])) {
    ++end;
  }
  return end;
}

Lines StoreCalls() {
  static const Lines kUtilities = {"CryptoHash_", "Str_Sprintf", "StrPrintf", "StrCat"};
  Lines calls;
  for (const std::string& line : ThePlatform().log) {
    const bool isUtility =
        std::any_of(kUtilities.begin(), kUtilities.end(),
                    [&line](const std::string& name) { return StartsWith(line, name); });
    if (!isUtility) calls.push_back(line);
  }
  return calls;
}

void FaultTest::ForEveryFailingCall(const Recording::StoredSet& stored,
                                    const std::function<void()>& operation,
                                    const std::function<void(const FaultRun&)>& check) {
  RestartPlatform();
  ThePlatform().stored = stored;
  operation();
  FaultRun run{GetParam(), StoreCalls(), 0, Outcome()};
  ASSERT_FALSE(run.undisturbed.empty());

  for (int failing = 1;; ++failing) {
    RestartPlatform();
    ThePlatform().stored = stored;
    bool fired = false;
    ThePlatform().duringStoreCall = [&fired, &run, failing](int call, const std::string&) {
      if (call != failing) return;
      fired = true;
      Raise(run.failure);
    };
    run.outcome = Attempt(operation);
    if (!fired) {
      EXPECT_EQ(run.outcome, Outcome());
      EXPECT_EQ(StoreCalls(), run.undisturbed);
      EXPECT_EQ(static_cast<std::size_t>(failing), run.undisturbed.size() + 1);
      return;
    }
    run.failed = static_cast<std::size_t>(failing - 1);
    ASSERT_LT(run.failed, run.undisturbed.size());
    SCOPED_TRACE("failed: " + run.FailedCall());
    check(run);
    run.outcome = Outcome();
    ExpectNothingIsKept();
    if (HasFailure()) return;
  }
}

}  // namespace QuorTest
