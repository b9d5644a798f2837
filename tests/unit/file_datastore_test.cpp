// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Replacing and listing datastores in the configuration file.
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

using TavQuor::QuorLib;

class FileDatastoreReplacement : public FileTest {};
class FileDatastoreListing : public FileTest {};

TEST_F(FileDatastoreReplacement, WritesUrlNamespaceAndDefaultOfEachUnderOneLock) {
  const Datastores datastores = {Datastore("ds:///z", "vol", "id-1"),
                                 Datastore("ds:///c", "RILK", "")};
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   R"(SynchronizedConfigFile)",
                                   R"(GetBranch /Quor/Datastore-Info)",
                                   R"(RemoveAllChildren /Quor/Datastore-Info)",
                                   R"(GetArray /Quor/Datastore-Info Datastore)",
                                   R"(NewInstance Datastore)",
                                   R"(SetValue Datastore[0] url: const& "ds:///z")",
                                   R"(SetValue Datastore[0] datastore-namespace: const& "vol")",
                                   R"(SetValue Datastore[0] default-policy-id: const& "id-1")",
                                   R"(NewInstance Datastore)",
                                   R"(SetValue Datastore[1] url: const& "ds:///c")",
                                   R"(SetValue Datastore[1] datastore-namespace: const& "RILK")",
                                   R"(SetValue Datastore[1] default-policy-id: const& "")",
                                   R"(Write)",
                                   R"(Unlock)",
                               }));
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), datastores));
}

TEST_F(FileDatastoreReplacement, HandlesAreReleasedInReverseAndTheLockLast) {
  QuorLib::AddDatastoreInfo(SampleDatastores());
  EXPECT_EQ(ThePlatform().releases,
            (Lines{"Datastore[0]", "Datastore[1]", "Datastore", "/Quor/Datastore-Info", "Unlock"}));
}

TEST_F(FileDatastoreReplacement, EmptyVectorLeavesAnEmptyDatastoreArrayAndWritesOnce) {
  QuorLib::AddDatastoreInfo({});
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "SynchronizedConfigFile",
                                   "GetBranch /Quor/Datastore-Info",
                                   "RemoveAllChildren /Quor/Datastore-Info",
                                   "GetArray /Quor/Datastore-Info Datastore",
                                   "Write",
                                   "Unlock",
                               }));
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), {}));
}

TEST_F(FileDatastoreReplacement, ReplacesTheWholeSetAndLeavesPoliciesAndOthersAlone) {
  ThePlatform().file["/Other/Program"].values["key"] = "value";
  ThePlatform().file[kDatastoreBranch].values["note"] = "by hand";
  QuorLib::AddDatastoreInfo({Datastore("ds:///z", "vol", "id-1")});
  Recording::FileTree expected = InFile(SamplePolicies(), {Datastore("ds:///z", "vol", "id-1")});
  expected["/Other/Program"].values["key"] = "value";
  EXPECT_EQ(ThePlatform().file, expected);
}

TEST_F(FileDatastoreReplacement, FileWithoutTheBranchIsWrittenTheSameWay) {
  ThePlatform().file.clear();
  QuorLib::AddDatastoreInfo(SampleDatastores());
  Recording::FileTree expected = InFile({}, SampleDatastores());
  expected.erase(kPolicyBranch);
  EXPECT_EQ(ThePlatform().file, expected);
}

TEST_F(FileDatastoreReplacement, EmptyValuesAreWrittenAsTheyAre) {
  const Datastores datastores = {Datastore("", "", "")};
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(CallsOf("SetValue").size(), 3U);
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), datastores));
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
}

TEST_F(FileDatastoreReplacement, RecordsOfOneUrlAreAllKeptInTheCallersOrder) {
  const Datastores datastores = {Datastore("ds:///d", "vol", "id-1"),
                                 Datastore("ds:///c", "vol", "id-3"),
                                 Datastore("ds:///d", "RILK", "id-2")};
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), datastores));
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
}

TEST_F(FileDatastoreReplacement, AnyBytesAreStored) {
  const std::string bytes = HostileBytes();
  const Datastores datastores = {Datastore(bytes, bytes + "1", bytes + "2")};
  QuorLib::AddDatastoreInfo(datastores);
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), datastores));
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
}

TEST_F(FileDatastoreReplacement, FailingSetterIsRaisedAfterOneUnlockAndNothingIsWritten) {
  FailCallsOf("SetValue Datastore[1] default-policy-id", Failure::kDerivedFileException);
  EXPECT_EQ(Attempt([] { QuorLib::AddDatastoreInfo(SampleDatastores()); }),
            Unchanged(Failure::kDerivedFileException));
  EXPECT_EQ(CallsOf("Write"), Lines());
  EXPECT_EQ(CallsOf("Unlock").size(), 1U);
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), SampleDatastores()));
}

TEST_F(FileDatastoreReplacement, FailingWriteIsRaisedAfterExactlyOneUnlock) {
  FailCallsOf("Write", Failure::kFileException);
  EXPECT_EQ(Attempt([] { QuorLib::AddDatastoreInfo({}); }), Unchanged(Failure::kFileException));
  EXPECT_EQ(CallsOf("Write").size(), 1U);
  EXPECT_EQ(CallsOf("Unlock").size(), 1U);
  EXPECT_EQ(LastOf(ThePlatform().log), "Unlock");
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), SampleDatastores()));
}

TEST_F(FileDatastoreListing, ReadsUrlNamespaceAndDefaultOfEachInTheFilesOrderAndWritesNothing) {
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SampleDatastores());
  EXPECT_EQ(ThePlatform().log, (Lines{
                                   "SynchronizedConfigFile",
                                   "GetBranch /Quor/Datastore-Info",
                                   "GetArray /Quor/Datastore-Info Datastore",
                                   "GetInstances Datastore",
                                   "GetValue Datastore[0] url: text",
                                   "GetValue Datastore[0] datastore-namespace: text",
                                   "GetValue Datastore[0] default-policy-id: text",
                                   "GetValue Datastore[1] url: text",
                                   "GetValue Datastore[1] datastore-namespace: text",
                                   "GetValue Datastore[1] default-policy-id: text",
                                   "Unlock",
                               }));
}

TEST_F(FileDatastoreListing, HandlesAreReleasedBeforeTheLockArrayFirstThenBranch) {
  QuorLib::ListDatastoreInfo();
  const Lines& releases = ThePlatform().releases;
  ASSERT_GE(releases.size(), 3U);
  EXPECT_EQ(Lines(releases.end() - 3, releases.end()),
            (Lines{"Datastore", "/Quor/Datastore-Info", "Unlock"}));
}

TEST_F(FileDatastoreListing, FileWithoutDatastoresOrWithoutTheBranchListsNothing) {
  for (const Recording::FileTree& file : {InFile(SamplePolicies(), {}), Recording::FileTree()}) {
    ThePlatform().file = file;
    EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores());
    EXPECT_EQ(ThePlatform().file, file);
  }
}

TEST_F(FileDatastoreListing, RecordsAreNotSorted) {
  const Datastores datastores = {Datastore("z", "", ""), Datastore("a", "", ""),
                                 Datastore("m", "", "")};
  ThePlatform().file = InFile({}, datastores);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), datastores);
}

TEST_F(FileDatastoreListing, InstanceThatLacksOneOfItsThreeValuesIsNotListedAtAll) {
  const Lines keys = {"url", "datastore-namespace", "default-policy-id"};
  for (std::size_t i = 0; i < keys.size(); ++i) {
    ThePlatform().file = InFile({}, SampleDatastores());
    DatastoreAt(ThePlatform().file, 0).values.erase(keys[i]);
    ThePlatform().log.clear();
    EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{SampleDatastores()[1]}) << keys[i];
    EXPECT_EQ(CallsOf("GetValue Datastore[0]").size(), i + 1) << keys[i];
  }
}

TEST_F(FileDatastoreListing, InstanceWithAnArrayInPlaceOfAValueIsLeftOut) {
  for (const char* key : {"url", "datastore-namespace", "default-policy-id"}) {
    ThePlatform().file = InFile({}, SampleDatastores());
    DatastoreAt(ThePlatform().file, 0).arrays[key];
    EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{SampleDatastores()[1]}) << key;
  }
}

TEST_F(FileDatastoreListing, FileExceptionWhileReadingOneInstanceDropsThatInstanceOnly) {
  FailCallsOf("GetValue Datastore[0] default-policy-id", Failure::kFileException);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{SampleDatastores()[1]});
}

TEST_F(FileDatastoreListing, EveryInstanceUnreadableListsNothingAndRaisesNothing) {
  FailCallsOf("GetValue", Failure::kDerivedFileException);
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores());
  EXPECT_EQ(CallsOf("GetValue").size(), 2U);
}

TEST_F(FileDatastoreListing, FailingFetchOfTheBranchOrTheArrayOrTheInstancesIsRaised) {
  for (const char* call : {"GetBranch", "GetArray", "GetInstances"}) {
    ThePlatform().log.clear();
    FailCallsOf(call, Failure::kDerivedFileException);
    EXPECT_EQ(Attempt([] { QuorLib::ListDatastoreInfo(); }),
              Unchanged(Failure::kDerivedFileException))
        << call;
    EXPECT_EQ(CallsOf("Unlock").size(), 1U);
  }
}

}  // namespace
}  // namespace QuorTest
