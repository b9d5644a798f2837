// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The switch: one for the whole host, followed by running processes at their next call.
#include <gtest/gtest.h>

#include <string>

#include "backend/catalogue.h"
#include "support/needs.h"

namespace ConfigFileTest {
namespace {

class SwitchTest : public HostTest {
 protected:
  SwitchTest() {
    Switch(Kind::kStore);
    QuorLib::AddPolicyInfo({Policy("id", {{"of the store", "RILK"}})});
    Switch(Kind::kFile);
    QuorLib::AddPolicyInfo({Policy("id", {{"of the file", "RILK"}})});
  }
};

TEST_F(SwitchTest, CopiesNothingBetweenTheBackends) {
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "of the file");
  Switch(Kind::kStore);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "of the store");
  QuorLib::Reset();
  Switch(Kind::kFile);
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "of the file");
}

TEST_F(SwitchTest, IsFollowedByARunningProcessAtItsNextCall) {
  Gate asked;
  Gate flipped;
  ChildProcess running([&] {
    for (const char* const answer : {"of the file", "of the store", "of the file"}) {
      EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), answer);
      asked.Open();
      EXPECT_TRUE(flipped.Wait());
    }
  });
  for (const Kind next : {Kind::kStore, Kind::kFile, Kind::kStore}) {
    ASSERT_TRUE(asked.Wait());
    RunInChild([next] { Switch(next); });
    flipped.Open();
  }
  EXPECT_TRUE(running.Succeeds());
}

TEST_F(SwitchTest, MadeOnAHostWithoutSwitchesIsFollowedByAProcessThatRanBefore) {
  std::filesystem::remove_all(HostPath());
  HostPlatform::UseHostDirectory(HostPath());
  Gate asked;
  Gate flipped;
  ChildProcess running([&] {
    EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "");
    asked.Open();
    EXPECT_TRUE(flipped.Wait());
    QuorLib::GetRilkPolicyBlobById("id");  // the store's; it finds the switches
    EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "of the file");
  });
  ASSERT_TRUE(asked.Wait());
  RunInChild([] {
    Switch(Kind::kFile);
    QuorLib::AddPolicyInfo({Policy("id", {{"of the file", "RILK"}})});
  });
  flipped.Open();
  EXPECT_TRUE(running.Succeeds());
}

TEST_F(SwitchTest, LeavesEachBackendsFilesAlone) {
  const std::string store = ReadFile(PathOf("config-store.cdb"));
  QuorLib::AddPolicyInfo({});
  QuorLib::Reset();
  EXPECT_TRUE(ReadFile(PathOf("config-store.cdb")) == store);
  const std::string file = Document();
  Switch(Kind::kStore);
  QuorLib::Reset();
  EXPECT_EQ(Document(), file);
}

TEST_F(SwitchTest, LetsAReaderInTheGroupAskTheFileAndChangeNothing) {
  Machine::NeedRoot();
  ASSERT_EQ(chown(HostPath().c_str(), 0, kReaders), 0);
  for (const std::string& name : NamesIn(HostPath()))
    ASSERT_EQ(chown(PathOf(name).c_str(), 0, kReaders), 0);
  RunInChild([] {
    BecomeUser(kStranger, {kStranger, kReaders});
    EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "of the file");
    EXPECT_EQ(QuorLib::ListPolicyInfo().size(), 1U);
    EXPECT_THROW(QuorLib::AddPolicyInfo({}), ConfigFileException);
    EXPECT_THROW(QuorLib::AddDatastoreInfo({}), ConfigFileException);
    EXPECT_THROW(QuorLib::Reset(), ConfigFileException);
  });
  EXPECT_EQ(QuorLib::GetRilkPolicyBlobById("id"), "of the file");
}

}  // namespace
}  // namespace ConfigFileTest
