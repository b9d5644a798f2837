// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every store call of the operations that write, failing one at a time with every type of
// exception: what reaches the caller, what is still called, and what is stored afterwards.
#include "support/fault_loop.h"
#include "tavconfigstore/exception.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

const Policies kNewPolicies = {Policy("iron", "id-3", "new", 1, {{"I-rilk", "RILK"}, {"", "vol"}}),
                               Policy("gold", "id-1", "newer", 8, {{"lost", ""}}),
                               Policy("tin", "", "", 0, {{"T-vol", "vol"}})};
const Datastores kNewDatastores = {Datastore("ds:///z", "vol", "id-3"),
                                   Datastore("ds:///a", "RILK", "")};

class WritingFaults : public FaultTest {
 protected:
  // The store's own failure is rolled back, once, and replaced by a copy. Every other exception
  // passes as it is and makes no further call, as does a failure to get the store at all: then
  // there is nothing to roll back.
  static void CheckReplacement(const FaultRun& run) {
    const bool rollsBack = IsStoreFailure(run.failure) && !run.FailedToGetTheStore();
    Lines expected = run.UpToTheFailure();
    if (rollsBack) expected.push_back("RollbackTransaction");
    EXPECT_EQ(StoreCalls(), expected);
    EXPECT_EQ(run.outcome, rollsBack ? CopyOf(run.failure) : Unchanged(run.failure));
    CheckNothingChanged();
  }

  static void CheckNothingChanged() {
    EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
  }

  void ForEveryFailingReplacementCall(const std::function<void()>& operation) {
    ForEveryFailingCall(&StoreSample, operation, &CheckReplacement);
  }
};

TEST_P(WritingFaults, AddPolicyInfoRollsBackTheStoresFailuresOnly) {
  ForEveryFailingReplacementCall([] { QuorLib::AddPolicyInfo(kNewPolicies); });
  EXPECT_EQ(ThePlatform().stored.size(), kNewPolicies.size() + SampleDatastores().size());
}

TEST_P(WritingFaults, AddPolicyInfoOfNothingRollsBackTheStoresFailuresOnly) {
  ForEveryFailingReplacementCall([] { QuorLib::AddPolicyInfo({}); });
  EXPECT_EQ(ThePlatform().stored, Stored({}, SampleDatastores()));
}

TEST_P(WritingFaults, AddDatastoreInfoRollsBackTheStoresFailuresOnly) {
  ForEveryFailingReplacementCall([] { QuorLib::AddDatastoreInfo(kNewDatastores); });
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), kNewDatastores));
}

TEST_P(WritingFaults, AddDatastoreInfoOfNothingRollsBackTheStoresFailuresOnly) {
  ForEveryFailingReplacementCall([] { QuorLib::AddDatastoreInfo({}); });
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), {}));
}

// The index of the call after the deletion that the failed call belongs to; 0 if to none.
std::size_t EndOfDeletion(const FaultRun& run) {
  for (const std::size_t call : {run.failed, run.failed + 1}) {
    if (StartsWith(run.undisturbed.at(call), "DeleteObjects")) return call + 1;
  }
  return 0;
}

// The store's failure in one of the two deletions, which begin with making the filter, is dropped:
// the other one is made and committed.
void CheckSwallowedDeletion(const FaultRun& run, std::size_t endOfDeletion) {
  EXPECT_EQ(StoreCalls(), run.UpToTheFailureAndFrom(endOfDeletion));
  EXPECT_EQ(run.outcome, Outcome());
  const bool policiesStay = run.FailedCall().find("quor_policies") != std::string::npos;
  EXPECT_EQ(ThePlatform().stored,
            policiesStay ? Stored(SamplePolicies(), {}) : Stored({}, SampleDatastores()));
}

TEST_P(WritingFaults, ResetDropsTheStoresFailuresInDeletionsAndRollsBackTheOthers) {
  ForEveryFailingCall(
      &StoreSample, [] { QuorLib::Reset(); },
      [](const FaultRun& run) {
        const bool inDeletion = StartsWith(run.FailedCall(), "FilterSpecObject") ||
                                StartsWith(run.FailedCall(), "DeleteObjects");
        if (inDeletion && IsStoreFailure(run.failure)) {
          CheckSwallowedDeletion(run, EndOfDeletion(run));
        } else {
          CheckReplacement(run);
        }
      });
  EXPECT_EQ(ThePlatform().stored, Recording::StoredSet());
}

// There is no transaction yet, so there is nothing to roll back and nothing to copy.
TEST_P(WritingFaults, FailureToGetTheStorePassesUnchangedWithoutARollback) {
  const std::vector<std::function<void()>> operations = {
      [] { QuorLib::AddPolicyInfo(kNewPolicies); },
      [] { QuorLib::AddDatastoreInfo(kNewDatastores); }, [] { QuorLib::Reset(); }};
  for (const auto& operation : operations) {
    StoreSample();
    ThePlatform().log.clear();
    FailCallsOf("GetStore", GetParam());
    EXPECT_EQ(Attempt(operation), Unchanged(GetParam()));
    EXPECT_EQ(ThePlatform().log, Lines{"GetStore global"});
    CheckNothingChanged();
  }
}

// Whatever the roll-back raises, the first failure is the one to tell; the transaction ends with
// its handle.
TEST_P(WritingFaults, FailureOfTheRollbackIsNotToldInPlaceOfTheFirst) {
  const std::vector<std::function<void()>> operations = {
      [] { QuorLib::AddPolicyInfo(kNewPolicies); },
      [] { QuorLib::AddDatastoreInfo(kNewDatastores); }, [] { QuorLib::Reset(); }};
  for (const auto& operation : operations) {
    StoreSample();
    ThePlatform().droppedTransactions = 0;
    ThePlatform().duringStoreCall = [](int, const std::string& line) {
      if (line == "CommitTransaction") Raise(Failure::kStoreException);
      if (line == "RollbackTransaction") Raise(GetParam());
    };
    EXPECT_EQ(Attempt(operation), CopyOf(Failure::kStoreException));
    EXPECT_EQ(LastOf(ThePlatform().log), "RollbackTransaction");
    EXPECT_EQ(ThePlatform().droppedTransactions, 1);
    CheckNothingChanged();
  }
}

INSTANTIATE_TEST_SUITE_P(, WritingFaults, testing::ValuesIn(AllFailures()), &FailureName);

// A class of the store's whose text is not its message.
class DecoratedException : public TavConfigStore::ConfigStoreException {
 public:
  DecoratedException() : ConfigStoreException("the message", TavConfigStore::kBusy) {}
  const char* what() const noexcept override { return "the message, decorated"; }
};

class CopiedException : public RecordingTest {};

TEST_F(CopiedException, HasTheMessageAndNotTheTextOfADerivedClass) {
  for (const char* failing : {"DeleteObjects", "CommitTransaction"}) {
    ThePlatform().duringStoreCall = [failing](int, const std::string& line) {
      if (StartsWith(line, failing)) throw DecoratedException();
    };
    const Outcome outcome = Attempt([] { QuorLib::AddPolicyInfo({}); });
    EXPECT_EQ(outcome.type, "TavConfigStore::ConfigStoreException");
    EXPECT_EQ(outcome.message, "the message");
    EXPECT_EQ(outcome.code, TavConfigStore::kBusy);
  }
}

}  // namespace
}  // namespace QuorTest
