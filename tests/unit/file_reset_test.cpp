// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Reset in the configuration file.
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

using Recording::FileTree;
using TavQuor::QuorLib;

const Lines kFirstHalf = {
    "SynchronizedConfigFile",
    "GetBranch /Quor/Policy-Info",
    "RemoveAllChildren /Quor/Policy-Info",
    "GetArray /Quor/Policy-Info policy",
    "Write",
    "Unlock",
};

// No array is fetched here.
const Lines kSecondHalf = {
    "SynchronizedConfigFile",
    "GetBranch /Quor/Datastore-Info",
    "RemoveAllChildren /Quor/Datastore-Info",
    "Write",
    "Unlock",
};

Lines WholeReset() {
  Lines calls = kFirstHalf;
  calls.insert(calls.end(), kSecondHalf.begin(), kSecondHalf.end());
  return calls;
}

// An array of no policies, and not even an array of datastores.
FileTree AfterReset() {
  FileTree file;
  file[kPolicyBranch].arrays["policy"];
  file[kDatastoreBranch];
  return file;
}

// The policies are emptied, the datastores are not.
FileTree AfterTheFirstHalf() {
  return InFile({}, SampleDatastores());
}

class FileReset : public FileTest {};

TEST_F(FileReset, EmptiesPoliciesThenDatastoresUnderTwoLocksAndLeavesOneArray) {
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().log, WholeReset());
  EXPECT_EQ(ThePlatform().file, AfterReset());
  EXPECT_EQ(ThePlatform().locks, 2);
  EXPECT_EQ(ThePlatform().unlocks, 2);
}

TEST_F(FileReset, HandlesAreReleasedArrayFirstThenBranchThenTheLock) {
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().releases,
            (Lines{"policy", "/Quor/Policy-Info", "Unlock", "/Quor/Datastore-Info", "Unlock"}));
}

TEST_F(FileReset, EmptyFileIsResetTheSameWay) {
  ThePlatform().file.clear();
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().log, WholeReset());
  EXPECT_EQ(ThePlatform().file, AfterReset());
}

TEST_F(FileReset, ValuesAndArraysOfAnyNameInTheTwoBranchesAreRemoved) {
  for (const std::string& branch : {kPolicyBranch, kDatastoreBranch}) {
    ThePlatform().file[branch].values["note"] = "by hand";
    ThePlatform().file[branch].arrays["others"].emplace_back();
  }
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().file, AfterReset());
}

TEST_F(FileReset, BranchesOfOthersAreLeftAlone) {
  ThePlatform().file["/Other/Program"].values["key"] = "value";
  FileTree expected = AfterReset();
  expected["/Other/Program"].values["key"] = "value";
  QuorLib::Reset();
  EXPECT_EQ(ThePlatform().file, expected);
}

TEST_F(FileReset, OthersCanSeePoliciesEmptiedButDatastoresNotYetBetweenTheHalves) {
  FileTree between;
  ThePlatform().duringStoreCall = [&between](int, const std::string& line) {
    if (line == "SynchronizedConfigFile") between = ThePlatform().file;
  };
  QuorLib::Reset();
  EXPECT_EQ(between, AfterTheFirstHalf());
}

TEST_F(FileReset, FailureInTheFirstHalfLeavesBothAndNeverStartsTheSecond) {
  FailCallsOf("Write", Failure::kFileException);
  EXPECT_EQ(Attempt([] { QuorLib::Reset(); }), Unchanged(Failure::kFileException));
  EXPECT_EQ(ThePlatform().log, kFirstHalf);
  EXPECT_EQ(ThePlatform().file, InFile(SamplePolicies(), SampleDatastores()));
}

TEST_F(FileReset, FailureInTheSecondHalfKeepsWhatTheFirstWrote) {
  FailCallsOf("RemoveAllChildren /Quor/Datastore-Info", Failure::kFileException);
  EXPECT_EQ(Attempt([] { QuorLib::Reset(); }), Unchanged(Failure::kFileException));
  EXPECT_EQ(CallsOf("Write").size(), 1U);
  EXPECT_EQ(LastOf(ThePlatform().log), "Unlock");
  EXPECT_EQ(ThePlatform().unlocks, 2);
  EXPECT_EQ(ThePlatform().file, AfterTheFirstHalf());
}

TEST_F(FileReset, ListingsRightAfterItAreEmpty) {
  QuorLib::Reset();
  EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies());
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores());
}

TEST_F(FileReset, AfterItEverythingIsAnsweredAsNotFound) {
  QuorLib::Reset();
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id-1"), "");
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobByName("gold"), "");
  EXPECT_EQ(QuorLib::GetDefaultPolicyBlob("ds:///a"), "");
  EXPECT_EQ(QuorLib::GetPolicyBlobById("id-1", "ds:///a"), "");
  EXPECT_EQ(QuorLib::GetDbHash(), std::make_pair(std::string(), std::string()));
  EXPECT_EQ(ThePlatform().file, AfterReset());  // reading brought no array back
}

TEST_F(FileReset, DatastoreArrayComesBackWithTheNextReplacement) {
  QuorLib::Reset();
  QuorLib::AddDatastoreInfo({});
  EXPECT_EQ(ThePlatform().file, InFile({}, {}));
}

}  // namespace
}  // namespace QuorTest
