// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Getters that leave something in their output and find nothing, and what outputs hold before.
#include "recording/getters.h"

#include "support/backends.h"
#include "support/entry_points.h"
#include "support/file_fixture.h"

namespace QuorTest {
namespace {

using Recording::getters;
using TavQuor::QuorLib;

class Getters : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    StoreSample();
    ThePlatform().file = InFile(SamplePolicies(), SampleDatastores());
    getters = Recording::Getters();
  }
  void TearDown() override {
    getters = Recording::Getters();
    RecordingTest::TearDown();
  }

  // Lets getters whose call starts with `start` find nothing, and leave `left` in texts.
  static void FindNothingAt(const std::string& start, const std::string& left) {
    getters.text = [start, left](const std::string& line, bool found, std::string* value) {
      if (!StartsWith(line, start)) return found;
      *value = left;
      return false;
    };
    getters.number = [start](const std::string& line, bool found) {
      return found && !StartsWith(line, start);
    };
  }
};

class FileGetters : public Getters {
 protected:
  void SetUp() override {
    Getters::SetUp();
    SetConfigStoreSwitch(0);
  }
};

TEST_F(FileGetters, WhatIsLeftByAValueThatWasNotFoundIsNoAnswer) {
  FindNothingAt("GetValue Datastore[0] datastore-namespace", "left");
  EXPECT_EQ(kFileBackend.GetDatastoreNamespace("ds:///a"), "");
  FindNothingAt("GetValue Datastore[0] default-policy-id", "left");
  EXPECT_EQ(kFileBackend.GetDatastoreDefaultPolicyId("ds:///a"), "");
  FindNothingAt("GetValue policy[0].blobs[0] blob", "TWFu");
  EXPECT_EQ(kFileBackend.GetPolicyBlob("id-1", "RILK"), "");
}

TEST_F(FileGetters, WhatIsLeftByAKeyThatWasNotFoundIsNoMatch) {
  FindNothingAt("GetValue Datastore[0] url", "ds:///x");
  EXPECT_EQ(kFileBackend.GetDatastoreNamespace("ds:///x"), "");
  EXPECT_EQ(kFileBackend.GetDatastoreDefaultPolicyId("ds:///x"), "");
  FindNothingAt("GetValue policy[0] policy-id", "id-x");
  EXPECT_EQ(kFileBackend.GetPolicyBlob("id-x", "RILK"), "");
  FindNothingAt("GetValue policy[0] name", "x");
  EXPECT_EQ(kFileBackend.GetPolicyBlobByName("x", "RILK"), "");
  FindNothingAt("GetValue policy[0].blobs[0] datastore-namespace", "x");
  EXPECT_EQ(kFileBackend.GetPolicyBlob("id-1", "x"), "");
}

TEST_F(FileGetters, RecordsOfWhichAValueWasNotFoundAreNotListed) {
  for (const char* key : {"name", "description", "policy-id", "generation-number"}) {
    FindNothingAt(std::string("GetValue policy[0] ") + key, "left");
    EXPECT_EQ(QuorLib::ListPolicyInfo(), Policies{SamplePolicies()[1]}) << key;
  }
  for (const char* key : {"url", "datastore-namespace", "default-policy-id"}) {
    FindNothingAt(std::string("GetValue Datastore[0] ") + key, "left");
    EXPECT_EQ(QuorLib::ListDatastoreInfo(), Datastores{SampleDatastores()[1]}) << key;
  }
}

// What a getter of the store returns is not looked at: its output is the answer.
TEST_F(Getters, OfTheStoreAnswerByTheirOutputAlone) {
  getters.text = [](const std::string&, bool, std::string*) { return false; };
  getters.number = [](const std::string&, bool) { return false; };
  EXPECT_EQ(QuorLib::ListPolicyInfo(), SamplePolicies());
  EXPECT_EQ(QuorLib::ListDatastoreInfo(), SampleDatastores());
  EXPECT_EQ(kStoreBackend.GetPolicyBlob("id-2", "vol"), "S-vol");
  EXPECT_EQ(kStoreBackend.GetPolicyBlobByName("gold", "RILK"), "G-rilk");
  EXPECT_EQ(kStoreBackend.GetDatastoreNamespace("ds:///a"), "vol");
  EXPECT_EQ(kStoreBackend.GetDatastoreDefaultPolicyId("ds:///b"), "id-2");
}

// The two kinds of output that are meant to hold something: the number of the policy listed before
// in the store, and what the first of two reads of a URL found in the file.
TEST_F(Getters, GetEmptyOutputs) {
  for (const bool isStore : {true, false}) {
    SetConfigStoreSwitch(isStore ? 1 : 0);
    for (const EntryPoint& entryPoint : AllEntryPoints()) {
      StoreSample();
      ThePlatform().file = InFile(SamplePolicies(), SampleDatastores());
      getters.notEmpty.clear();
      entryPoint.call();
      for (const std::string& line : getters.notEmpty) {
        const bool isMeant =
            isStore ? line.ends_with(" generation_number: integer") : line.ends_with(" url: text");
        EXPECT_TRUE(isMeant) << entryPoint.name << ": " << line;
      }
    }
  }
}

TEST_F(FileGetters, OutputsForUrlsHoldSomethingOnlyAtTheSecondReadOfOne) {
  TavQuor::ConfigFileBackend::kBackend.GetDatastoreNamespace("ds:///b");
  EXPECT_EQ(getters.notEmpty, Lines());
  TavQuor::ConfigFileBackend::kBackend.GetDatastoreDefaultPolicyId("ds:///b");
  EXPECT_EQ(getters.notEmpty,
            (Lines{"GetValue Datastore[0] url: text", "GetValue Datastore[1] url: text"}));
}

}  // namespace
}  // namespace QuorTest
