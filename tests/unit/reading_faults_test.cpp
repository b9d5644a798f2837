// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every store call of the operations that read, failing one at a time with every type of
// exception. Nothing that reads begins, commits or rolls back a transaction.
#include "support/backends.h"
#include "support/fault_loop.h"
#include "support/reference_digest.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

// Three of each, so that a record that is left out may be the first, the middle or the last.
const Policies kPolicies = {
    Policy("gold", "id-1", "fast", 7, {{"G-rilk", "RILK"}, {"G-vol", "vol"}}),
    Policy("silver", "id-2", "cheap", -3, {{"S-vol", "vol"}}), Policy("bare", "id-3", "", 0, {})};
const Datastores kDatastores = {Datastore("ds:///a", "vol", "id-1"),
                                Datastore("ds:///b", "RILK", "id-1"),
                                Datastore("ds:///c", "vol", "id-3")};

// `records` without the one that the failed call reads, found by the text that the log has of it.
template <typename Record>
std::vector<Record> WithoutTheUnreadable(const std::vector<Record>& records, const FaultRun& run) {
  std::vector<Record> readable;
  for (const Record& record : records) {
    const std::string& key = Stored(record).instance;
    // The call that makes a policy's blob filter does not name the policy; the one before it does.
    const std::string& call = run.FailedCall() == "FilterSpecObject blobs//"
                                  ? run.undisturbed[run.failed - 1]
                                  : run.FailedCall();
    if (call.find("[" + Recording::Quoted(key) + "]") == std::string::npos) {
      readable.push_back(record);
    }
  }
  return readable;
}

class ReadingFaults : public FaultTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(ThePlatform().stored, Stored(kPolicies, kDatastores));
    FaultTest::TearDown();
  }

  static bool IsDropped(const FaultRun& run) {
    return IsStoreFailure(run.failure) && run.EndOfRecord() != 0;
  }

  static void CheckPropagation(const FaultRun& run) {
    EXPECT_EQ(StoreCalls(), run.UpToTheFailure());
    EXPECT_EQ(run.outcome, Unchanged(run.failure));
  }

  // `result` is what the operation returned, `readable` what it returns without the record.
  template <typename Result>
  static void CheckDroppedRecord(const FaultRun& run, const Result& result,
                                 const Result& readable) {
    EXPECT_EQ(StoreCalls(), run.UpToTheFailureAndFrom(run.EndOfRecord()));
    EXPECT_EQ(run.outcome, Outcome());
    EXPECT_EQ(result, readable);
  }

  void ForEveryFailingReadCall(const std::function<void()>& operation,
                               const std::function<void(const FaultRun&)>& check) {
    ForEveryFailingCall([] { ThePlatform().stored = Stored(kPolicies, kDatastores); }, operation,
                        check);
  }

  void ExpectEveryFailurePropagates(const std::function<std::string()>& lookup,
                                    const std::string& answer) {
    std::string found;
    ForEveryFailingReadCall([&] { found = lookup(); }, &CheckPropagation);
    EXPECT_EQ(found, answer);
  }
};

TEST_P(ReadingFaults, ListPolicyInfoLeavesOutAPolicyThatTheStoreCannotRead) {
  Policies listed;
  int dropped = 0;
  ForEveryFailingReadCall([&listed] { listed = QuorLib::ListPolicyInfo(); },
                          [&](const FaultRun& run) {
                            if (!IsDropped(run)) return CheckPropagation(run);
                            CheckDroppedRecord(run, listed, WithoutTheUnreadable(kPolicies, run));
                            EXPECT_EQ(listed.size(), kPolicies.size() - 1);
                            ++dropped;
                          });
  EXPECT_EQ(listed, kPolicies);
  // Six calls for each policy and two for each blob.
  EXPECT_EQ(dropped, IsStoreFailure(GetParam()) ? 3 * 6 + 3 * 2 : 0);
}

TEST_P(ReadingFaults, ListDatastoreInfoLeavesOutADatastoreThatTheStoreCannotRead) {
  Datastores listed;
  int dropped = 0;
  ForEveryFailingReadCall([&listed] { listed = QuorLib::ListDatastoreInfo(); },
                          [&](const FaultRun& run) {
                            if (!IsDropped(run)) return CheckPropagation(run);
                            CheckDroppedRecord(run, listed, WithoutTheUnreadable(kDatastores, run));
                            EXPECT_EQ(listed.size(), kDatastores.size() - 1);
                            ++dropped;
                          });
  EXPECT_EQ(listed, kDatastores);
  EXPECT_EQ(dropped, IsStoreFailure(GetParam()) ? 3 * 3 : 0);
}

// A record that is left out of the listing is left out of the digest; there is no partial digest
// when the listing itself fails.
TEST_P(ReadingFaults, GetDbHashLeavesOutARecordThatTheStoreCannotRead) {
  using Digests = std::pair<std::string, std::string>;
  Digests digests;
  ForEveryFailingReadCall([&digests] { digests = QuorLib::GetDbHash(); },
                          [&](const FaultRun& run) {
                            if (!IsDropped(run)) return CheckPropagation(run);
                            const Digests readable(
                                ReferencePolicyDigest(WithoutTheUnreadable(kPolicies, run)),
                                ReferenceDatastoreDigest(WithoutTheUnreadable(kDatastores, run)));
                            CheckDroppedRecord(run, digests, readable);
                          });
  EXPECT_EQ(digests.first, ReferencePolicyDigest(kPolicies));
  EXPECT_EQ(digests.second, ReferenceDatastoreDigest(kDatastores));
}

TEST_P(ReadingFaults, GetRilkPolicyBlobByIdRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return QuorLib::GetRilkPolicyBlobById("id-1"); }, "G-rilk");
}

TEST_P(ReadingFaults, GetRilkPolicyBlobByIdWithoutAMatchRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return QuorLib::GetRilkPolicyBlobById("id-none"); }, "");
}

TEST_P(ReadingFaults, GetRilkPolicyBlobByNameRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return QuorLib::GetRilkPolicyBlobByName("gold"); }, "G-rilk");
}

TEST_P(ReadingFaults, GetRilkPolicyBlobByNameWithoutAMatchRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return QuorLib::GetRilkPolicyBlobByName("none"); }, "");
}

TEST_P(ReadingFaults, GetDefaultPolicyBlobRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return QuorLib::GetDefaultPolicyBlob("ds:///b"); }, "G-rilk");
}

TEST_P(ReadingFaults, GetPolicyBlobByIdRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return QuorLib::GetPolicyBlobById("id-2", "ds:///a"); },
                               "S-vol");
}

TEST_P(ReadingFaults, LookupOfANamespaceRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return kStoreBackend.GetDatastoreNamespace("ds:///b"); },
                               "RILK");
}

TEST_P(ReadingFaults, LookupOfADefaultPolicyIdRaisesEveryFailureUnchanged) {
  ExpectEveryFailurePropagates([] { return kStoreBackend.GetDatastoreDefaultPolicyId("ds:///c"); },
                               "id-3");
}

INSTANTIATE_TEST_SUITE_P(, ReadingFaults, testing::ValuesIn(AllFailures()), &FailureName);

}  // namespace
}  // namespace QuorTest
