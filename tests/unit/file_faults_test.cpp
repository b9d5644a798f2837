// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every call to the configuration file, failing one at a time with every type of exception: what
// reaches the caller, what is still called, and what the file holds afterwards.
#include <algorithm>

#include "support/backends.h"
#include "support/fault_loop.h"
#include "support/file_catalogue.h"
#include "support/reference_digest.h"

namespace QuorTest {
namespace {

using Recording::FileTree;
using TavQuor::QuorLib;

// Three of each, so that a record that is left out may be the first, the middle or the last.
const Policies kPolicies = {
    Policy("gold", "id-1", "fast", 7, {{"G-rilk", "RILK"}, {"G-vol", "vol"}}),
    Policy("silver", "id-2", "cheap", -3, {{"S-vol", "vol"}}), Policy("bare", "id-3", "", 0, {})};
const Datastores kDatastores = {Datastore("ds:///a", "vol", "id-1"),
                                Datastore("ds:///b", "RILK", "id-1"),
                                Datastore("ds:///c", "vol", "id-3")};

// `records` without the one that the failed call reads: the log calls it "<array>[<index>]".
template <typename Record>
std::vector<Record> WithoutTheUnreadable(const std::vector<Record>& records,
                                         const std::string& array, const FaultRun& run) {
  std::vector<Record> readable;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::string label = " " + array + "[" + std::to_string(i) + "]";
    if (run.FailedCall().find(label) == std::string::npos) readable.push_back(records[i]);
  }
  return readable;
}

class FileFaults : public FaultTest {
 protected:
  static FileTree Initial() { return InFile(kPolicies, kDatastores); }

  void TearDown() override {
    EXPECT_EQ(ThePlatform().storeCalls, 0);
    FaultTest::TearDown();
  }

  // `calls`, and the unlocking of what was locked when one of them failed.
  static Lines ThenUnlocked(Lines calls, const FaultRun& run) {
    if (!run.FailedToLockTheFile()) calls.push_back("Unlock");
    return calls;
  }

  static void CheckPropagation(const FaultRun& run) {
    EXPECT_EQ(StoreCalls(), ThenUnlocked(run.UpToTheFailure(), run));
    EXPECT_EQ(run.outcome, Unchanged(run.failure));
  }

  static bool IsDropped(const FaultRun& run) {
    return IsFileFailure(run.failure) && run.EndOfRecord() != 0;
  }

  // `result` is what the operation returned, `readable` what it returns without the record.
  template <typename Result>
  static void CheckDroppedRecord(const FaultRun& run, const Result& result,
                                 const Result& readable) {
    EXPECT_EQ(StoreCalls(), run.UpToTheFailureAndFrom(run.EndOfRecord()));
    EXPECT_EQ(run.outcome, Outcome());
    EXPECT_EQ(result, readable);
  }

  void ForEveryFailingFileCall(const std::function<void()>& operation,
                               const std::function<void(const FaultRun&)>& check) {
    ForEveryFailingCall(
        [] {
          SetConfigStoreSwitch(0);
          ThePlatform().file = Initial();
        },
        operation, check);
  }

  void ExpectEveryFailureLeavesTheFile(const std::function<void()>& operation) {
    ForEveryFailingFileCall(operation, [](const FaultRun& run) {
      CheckPropagation(run);
      EXPECT_EQ(ThePlatform().file, Initial());
    });
    EXPECT_EQ(CallsOf("Write").size(), 1U);
  }

  void ForEveryFailingRead(const std::function<void()>& operation,
                           const std::function<void(const FaultRun&)>& check) {
    ForEveryFailingFileCall(operation, [&check](const FaultRun& run) {
      check(run);
      EXPECT_EQ(CallsOf("Write"), Lines());
      EXPECT_EQ(ThePlatform().file, Initial());
    });
    EXPECT_EQ(CallsOf("Write"), Lines());
  }

  void ExpectEveryFailurePropagates(const std::function<std::string()>& lookup,
                                    const std::string& answer) {
    std::string found;
    ForEveryFailingRead([&] { found = lookup(); }, &CheckPropagation);
    EXPECT_EQ(found, answer);
  }
};

TEST_P(FileFaults, AddPolicyInfoRaisesEveryFailureUnchangedAndWritesNothing) {
  const Policies policies = {Policy("iron", "id-3", "new", 1, {{"I-rilk", "RILK"}, {"I-none", ""}}),
                             Policy("tin", "", "", 0, {{"", "vol"}})};
  ExpectEveryFailureLeavesTheFile([&policies] { QuorLib::AddPolicyInfo(policies); });
  EXPECT_EQ(ThePlatform().file, InFile(policies, kDatastores));
}

TEST_P(FileFaults, AddPolicyInfoOfNothingRaisesEveryFailureUnchangedAndWritesNothing) {
  ExpectEveryFailureLeavesTheFile([] { QuorLib::AddPolicyInfo({}); });
  EXPECT_EQ(ThePlatform().file, InFile({}, kDatastores));
}

TEST_P(FileFaults, AddDatastoreInfoRaisesEveryFailureUnchangedAndWritesNothing) {
  const Datastores datastores = {Datastore("ds:///z", "vol", "id-3"),
                                 Datastore("ds:///a", "RILK", "")};
  ExpectEveryFailureLeavesTheFile([&datastores] { QuorLib::AddDatastoreInfo(datastores); });
  EXPECT_EQ(ThePlatform().file, InFile(kPolicies, datastores));
}

TEST_P(FileFaults, AddDatastoreInfoOfNothingRaisesEveryFailureUnchangedAndWritesNothing) {
  ExpectEveryFailureLeavesTheFile([] { QuorLib::AddDatastoreInfo({}); });
  EXPECT_EQ(ThePlatform().file, InFile(kPolicies, {}));
}

// What the first half has written stays; the second half never runs after a failure of the first.
TEST_P(FileFaults, ResetRaisesEveryFailureUnchangedAndKeepsWhatItsFirstHalfWrote) {
  int inTheSecondHalf = 0;
  ForEveryFailingFileCall([] { QuorLib::Reset(); },
                          [&inTheSecondHalf](const FaultRun& run) {
                            CheckPropagation(run);
                            const Lines before = run.UpToTheFailure();
                            const bool firstHalfIsDone =
                                std::find(before.begin(), before.end(), "Unlock") != before.end();
                            EXPECT_EQ(ThePlatform().file,
                                      firstHalfIsDone ? InFile({}, kDatastores) : Initial());
                            if (firstHalfIsDone) ++inTheSecondHalf;
                          });
  EXPECT_EQ(inTheSecondHalf, 4);
  EXPECT_EQ(CallsOf("Write").size(), 2U);
}

TEST_P(FileFaults, ListPolicyInfoLeavesOutAPolicyThatTheFileCannotReadAndNothingElse) {
  Policies listed;
  int dropped = 0;
  ForEveryFailingRead([&listed] { listed = QuorLib::ListPolicyInfo(); },
                      [&](const FaultRun& run) {
                        if (!IsDropped(run)) return CheckPropagation(run);
                        CheckDroppedRecord(run, listed,
                                           WithoutTheUnreadable(kPolicies, "policy", run));
                        EXPECT_EQ(listed.size(), kPolicies.size() - 1);
                        ++dropped;
                      });
  EXPECT_EQ(listed, kPolicies);
  // Six calls for each policy and two for each blob.
  EXPECT_EQ(dropped, IsFileFailure(GetParam()) ? 3 * 6 + 3 * 2 : 0);
}

TEST_P(FileFaults, ListDatastoreInfoLeavesOutADatastoreThatTheFileCannotReadAndNothingElse) {
  Datastores listed;
  int dropped = 0;
  ForEveryFailingRead([&listed] { listed = QuorLib::ListDatastoreInfo(); },
                      [&](const FaultRun& run) {
                        if (!IsDropped(run)) return CheckPropagation(run);
                        CheckDroppedRecord(run, listed,
                                           WithoutTheUnreadable(kDatastores, "Datastore", run));
                        EXPECT_EQ(listed.size(), kDatastores.size() - 1);
                        ++dropped;
                      });
  EXPECT_EQ(listed, kDatastores);
  EXPECT_EQ(dropped, IsFileFailure(GetParam()) ? 3 * 3 : 0);
}

TEST_P(FileFaults, GetDbHashLeavesOutARecordThatTheFileCannotReadAndNothingElse) {
  using Digests = std::pair<std::string, std::string>;
  Digests digests;
  ForEveryFailingRead(
      [&digests] { digests = QuorLib::GetDbHash(); },
      [&](const FaultRun& run) {
        if (!IsDropped(run)) return CheckPropagation(run);
        const Digests readable(
            ReferencePolicyDigest(WithoutTheUnreadable(kPolicies, "policy", run)),
            ReferenceDatastoreDigest(WithoutTheUnreadable(kDatastores, "Datastore", run)));
        CheckDroppedRecord(run, digests, readable);
      });
  EXPECT_EQ(digests.first, ReferencePolicyDigest(kPolicies));
  EXPECT_EQ(digests.second, ReferenceDatastoreDigest(kDatastores));
}

TEST_P(FileFaults, LookupOfABlobByIdRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return kFileBackend.GetPolicyBlob("id-1", "vol"); }, "G-vol");
}

TEST_P(FileFaults, LookupOfABlobByNameRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return kFileBackend.GetPolicyBlobByName("silver", "vol"); },
                               "S-vol");
}

TEST_P(FileFaults, LookupOfABlobWithoutAMatchRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return kFileBackend.GetPolicyBlob("none", "vol"); }, "");
  ExpectEveryFailurePropagates([] { return kFileBackend.GetPolicyBlobByName("gold", "none"); }, "");
}

TEST_P(FileFaults, LookupOfANamespaceRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return kFileBackend.GetDatastoreNamespace("ds:///b"); },
                               "RILK");
  ExpectEveryFailurePropagates([] { return kFileBackend.GetDatastoreNamespace("ds:///none"); }, "");
}

TEST_P(FileFaults, LookupOfADefaultPolicyIdRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return kFileBackend.GetDatastoreDefaultPolicyId("ds:///c"); },
                               "id-3");
  ExpectEveryFailurePropagates([] { return kFileBackend.GetDatastoreDefaultPolicyId("none"); }, "");
}

TEST_P(FileFaults, ComposedLookupsRaiseEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return QuorLib::GetDefaultPolicyBlob("ds:///b"); }, "G-rilk");
  ExpectEveryFailurePropagates([] { return QuorLib::GetPolicyBlobById("id-2", "ds:///a"); },
                               "S-vol");
  ExpectEveryFailurePropagates([] { return QuorLib::GetRilkPolicyBlobById("id-1"); }, "G-rilk");
  ExpectEveryFailurePropagates([] { return QuorLib::GetRilkPolicyBlobByName("gold"); }, "G-rilk");
}

INSTANTIATE_TEST_SUITE_P(, FileFaults, testing::ValuesIn(AllFileFailures()), &FailureName);

}  // namespace
}  // namespace QuorTest
