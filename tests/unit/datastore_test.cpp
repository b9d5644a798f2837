// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Datastores in the configuration store: replacing, listing and the two lookups.
#include "support/backends.h"
#include "support/fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class DatastoreTest : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    StoreSample();
  }
};

class DatastoreReplacement : public DatastoreTest {};
class DatastoreListing : public DatastoreTest {};
class DatastoreLookup : public DatastoreTest {};

TEST_F(DatastoreReplacement, WritesRecordsInTheirOrderEachWithUrlNamespaceAndDefault) {
  const Datastores datastores = {Datastore("ds:///z", "vol", "id-1"),
                                 Datastore("ds:///c", "RILK", "")};
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(BeginTransaction)",
                R"(FilterSpecObject quor_datastores/storage/tav)",
                R"(DeleteObjects quor_datastores/storage/tav)",
                R"(ConfigStoreObject quor_datastores/storage/tav["ds:///z"])",
                R"(SetValue quor_datastores/storage/tav["ds:///z"] url: "ds:///z")",
                R"(SetValue quor_datastores/storage/tav["ds:///z"] datastore_namespace: "vol")",
                R"(SetValue quor_datastores/storage/tav["ds:///z"] drp_policy_id: "id-1")",
                R"(SetObject quor_datastores/storage/tav["ds:///z"] writeMode 0)",
                R"(ConfigStoreObject quor_datastores/storage/tav["ds:///c"])",
                R"(SetValue quor_datastores/storage/tav["ds:///c"] url: "ds:///c")",
                R"(SetValue quor_datastores/storage/tav["ds:///c"] datastore_namespace: "RILK")",
                R"(SetValue quor_datastores/storage/tav["ds:///c"] drp_policy_id: "")",
                R"(SetObject quor_datastores/storage/tav["ds:///c"] writeMode 0)",
                R"(CommitTransaction)",
            }));
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), datastores));
}

TEST_F(DatastoreReplacement, EmptyVectorDeletesEveryDatastoreAndCommits) {
  QuorLib::AddDatastoreInfo({});
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "GetStore global",
                                   "BeginTransaction",
                                   "FilterSpecObject quor_datastores/storage/tav",
                                   "DeleteObjects quor_datastores/storage/tav",
                                   "CommitTransaction",
                               }));
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), {}));
}

TEST_F(DatastoreReplacement, EmptyUrlAndEmptyValuesAreWrittenAsTheyAre) {
  const Datastores datastores = {Datastore("", "", "")};
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(CallsOf("SetValue"),
            (Lines{
                R"(SetValue quor_datastores/storage/tav url: "")",
                R"(SetValue quor_datastores/storage/tav datastore_namespace: "")",
                R"(SetValue quor_datastores/storage/tav drp_policy_id: "")",
            }));
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
}

TEST_F(DatastoreReplacement, TwoRecordsOfOneUrlAreWrittenInTurn) {
  QuorLib::AddDatastoreInfo(
      {Datastore("ds:///d", "vol", "id-1"), Datastore("ds:///d", "RILK", "id-2")});
  EXPECT_EQ(CallsOf("SetObject"),
            Lines(2, R"(SetObject quor_datastores/storage/tav["ds:///d"] writeMode 0)"));
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{Datastore("ds:///d", "RILK", "id-2")});
}

TEST_F(DatastoreReplacement, AnyBytesAreStored) {
  const std::string bytes = HostileBytes();
  const Datastores datastores = {Datastore(bytes, bytes + "1", bytes + "2")};
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
  EXPECT_EQ(kStoreBackend.GetDatastoreNamespace(bytes), bytes + "1");
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId(bytes), bytes + "2");
}

TEST_F(DatastoreReplacement, FailingCommitIsFollowedByARollbackAndACopyOfTheException) {
  for (const Failure failure : {Failure::kStoreException, Failure::kDerivedStoreException}) {
    ThePlatform().log.clear();
    FailCallsOf("CommitTransaction", failure);
    EXPECT_EQ(Attempt([] { QuorLib::AddDatastoreInfo({}); }), CopyOf(failure));
    EXPECT_EQ(ThePlatform().log, (Lines{
                                     "GetStore global",
                                     "BeginTransaction",
                                     "FilterSpecObject quor_datastores/storage/tav",
                                     "DeleteObjects quor_datastores/storage/tav",
                                     "CommitTransaction",
                                     "RollbackTransaction",
                                 }));
    EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
  }
}

// Whether deleting nothing is an error is the store's decision; a replacement passes it on.
TEST_F(DatastoreReplacement, RefusedDeletionAbortsTheCall) {
  FailCallsOf("DeleteObjects", Failure::kStoreException);
  EXPECT_EQ(Attempt([] { QuorLib::AddDatastoreInfo(SampleDatastores()); }),
            CopyOf(Failure::kStoreException));
  EXPECT_EQ(CallsOf("SetObject"), Lines());
  EXPECT_EQ(CallsOf("RollbackTransaction").size(), 1U);
}

TEST_F(DatastoreReplacement, OtherExceptionPassesWithoutARollbackCallAndTheHandleIsReleased) {
  FailCallsOf("SetObject", Failure::kBadAlloc);
  EXPECT_EQ(Attempt([] { QuorLib::AddDatastoreInfo(SampleDatastores()); }),
            Unchanged(Failure::kBadAlloc));
  EXPECT_EQ(CallsOf("RollbackTransaction"), Lines());
  EXPECT_EQ(ThePlatform().droppedTransactions, 1);
  EXPECT_EQ(ThePlatform().stored, Stored(SamplePolicies(), SampleDatastores()));
}

TEST_F(DatastoreListing, ReadsNamespaceDefaultAndUrlOfEachInTheStoresOrder) {
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SampleDatastores());
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(FilterSpecObject quor_datastores/storage/tav)",
                R"(GetObjects quor_datastores/storage/tav)",
                R"(GetValue quor_datastores/storage/tav["ds:///a"] datastore_namespace: text)",
                R"(GetValue quor_datastores/storage/tav["ds:///a"] drp_policy_id: text)",
                R"(GetValue quor_datastores/storage/tav["ds:///a"] url: text)",
                R"(GetValue quor_datastores/storage/tav["ds:///b"] datastore_namespace: text)",
                R"(GetValue quor_datastores/storage/tav["ds:///b"] drp_policy_id: text)",
                R"(GetValue quor_datastores/storage/tav["ds:///b"] url: text)",
            }));
}

TEST_F(DatastoreListing, EmptyStoreListsNothing) {
  ThePlatform().stored = Stored(SamplePolicies(), {});
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores());
}

TEST_F(DatastoreListing, RecordsAreNotSorted) {
  const Datastores datastores = {Datastore("z", "", ""), Datastore("a", "", ""),
                                 Datastore("m", "", "")};
  ThePlatform().stored = Stored({}, datastores);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
}

TEST_F(DatastoreListing, MissingValuesReadAsEmptyAndAreNotTakenFromTheRecordBefore) {
  ThePlatform().stored = Stored({}, SampleDatastores());
  ThePlatform().stored[1].values.clear();
  EXPECT_EQ(QuorLib::ListDatastoreInfo(),
            (Datastores{SampleDatastores()[0], Datastore("", "", "")}));
}

TEST_F(DatastoreListing, InstanceWithoutTheDefaultValueListsAnEmptyDefaultPolicyId) {
  ThePlatform().stored = Stored({}, SampleDatastores());
  ThePlatform().stored[0].values.erase("drp_policy_id");
  EXPECT_EQ(QuorLib::ListDatastoreInfo(),
            (Datastores{Datastore("ds:///a", "vol", ""), SampleDatastores()[1]}));
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId("ds:///a"), "");
}

TEST_F(DatastoreListing, UrlIsReadFromItsValueAndNotFromTheInstanceKey) {
  ThePlatform().stored = Stored({}, {Datastore("ds:///value", "vol", "id")});
  ThePlatform().stored[0].instance = "ds:///key";
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{Datastore("ds:///value", "vol", "id")});
}

TEST_F(DatastoreListing, InstanceWithAValueOfTheWrongTypeIsLeftOut) {
  for (const char* key : {"url", "datastore_namespace", "drp_policy_id"}) {
    ThePlatform().stored = Stored({}, SampleDatastores());
    ThePlatform().stored[0].values[key] = 5LL;
    EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{SampleDatastores()[1]}) << key;
  }
}

TEST_F(DatastoreListing, EveryInstanceUnreadableListsNothingAndRaisesNothing) {
  FailCallsOf("GetValue", Failure::kDerivedStoreException);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores());
  EXPECT_EQ(CallsOf("GetValue").size(), 2U);
}

TEST_F(DatastoreListing, FailingEnumerationIsRaisedAsTheStoreThrewIt) {
  FailCallsOf("GetObjects", Failure::kDerivedStoreException);
  EXPECT_EQ(Attempt([] { QuorLib::ListDatastoreInfo(); }),
            Unchanged(Failure::kDerivedStoreException));
}

TEST_F(DatastoreLookup, NamespaceIsReadFromTheInstanceOfTheUrl) {
  EXPECT_EQ(kStoreBackend.GetDatastoreNamespace("ds:///b"), "RILK");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(GetObject quor_datastores/storage/tav["ds:///b"])",
                R"(GetValue quor_datastores/storage/tav["ds:///b"] datastore_namespace: text)",
            }));
}

TEST_F(DatastoreLookup, DefaultPolicyIdIsReadFromTheInstanceOfTheUrl) {
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId("ds:///b"), "id-2");
  EXPECT_EQ(ThePlatform().log,
            (Lines{
                R"(GetStore global)",
                R"(GetObject quor_datastores/storage/tav["ds:///b"])",
                R"(GetValue quor_datastores/storage/tav["ds:///b"] drp_policy_id: text)",
            }));
}

// Also where a datastore with an empty URL is stored.
TEST_F(DatastoreLookup, EmptyUrlIsAnsweredWithoutTouchingTheStore) {
  ThePlatform().stored = Stored({}, {Datastore("", "vol", "id-1")});
  EXPECT_EQ(kStoreBackend.GetDatastoreNamespace(""), "");
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId(""), "");
  EXPECT_EQ(ThePlatform().log, Lines());
}

TEST_F(DatastoreLookup, UnknownUrlIsEmptyAndRaisesNothing) {
  EXPECT_EQ(kStoreBackend.GetDatastoreNamespace("ds:///none"), "");
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId("ds:///A"), "");
  EXPECT_EQ(CallsOf("GetValue"), Lines());
}

TEST_F(DatastoreLookup, MissingValueIsEmpty) {
  ThePlatform().stored = Stored({}, SampleDatastores());
  ThePlatform().stored[0].values.clear();
  EXPECT_EQ(kStoreBackend.GetDatastoreNamespace("ds:///a"), "");
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId("ds:///a"), "");
}

TEST_F(DatastoreLookup, EmptyDefaultPolicyIdListsEmptyAndLooksUpEmpty) {
  QuorLib::AddDatastoreInfo({Datastore("ds:///a", "vol", "")});
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{Datastore("ds:///a", "vol", "")});
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId("ds:///a"), "");
}

}  // namespace
}  // namespace QuorTest
