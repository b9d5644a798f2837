// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Branches, arrays and values, and when a change is seen.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

using Tree = HostTest;

TEST_F(Tree, ValueThatWasWrittenIsReadBySessionsToCome) {
  Put("name", "Gold");
  EXPECT_EQ(Get("name"), "Gold");
  RunInChild([] { EXPECT_EQ(Get("name"), "Gold"); });
}

TEST_F(Tree, DocumentIsReadableAndInTheOrderOfTheWriting) {
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    branch->SetValue("zebra", "1");
    branch->SetValue("ant", "2");
    const auto array = branch->GetArray("items");
    array->NewInstance()->SetValue("n", "first");
    array->NewInstance()->SetValue("n", 2UL);
    locked.file->Write();
  }
  EXPECT_EQ(Document(),
            "{\n  \"Host\": {\n    \"Test\": {\n      \"zebra\": \"1\",\n      \"ant\": \"2\",\n"
            "      \"items\": [\n        {\n          \"n\": \"first\"\n        },\n        {\n"
            "          \"n\": \"2\"\n        }\n      ]\n    }\n  }\n}\n");
}

TEST_F(Tree, InstancesKeepTheirOrder) {
  {
    const SynchronizedConfigFile locked;
    const auto array = BranchOf(locked)->GetArray("items");
    for (int i = 0; i < 50; ++i)
      array->NewInstance()->SetValue("number", std::to_string((i * 37) % 50));
    locked.file->Write();
  }
  const SynchronizedConfigFile locked;
  const auto instances = BranchOf(locked)->GetArray("items")->GetInstances();
  ASSERT_EQ(instances.size(), 50U);
  for (int i = 0; i < 50; ++i) {
    std::string number;
    EXPECT_TRUE(instances[static_cast<std::size_t>(i)]->GetValue("number", &number));
    EXPECT_EQ(number, std::to_string((i * 37) % 50));
  }
}

TEST_F(Tree, ArraysNestInInstances) {
  {
    const SynchronizedConfigFile locked;
    const auto outer = BranchOf(locked)->GetArray("outer");
    for (const char* const name : {"a", "b"}) {
      const auto inner = outer->NewInstance()->GetArray("inner");
      inner->NewInstance()->SetValue("name", std::string(name) + "1");
      inner->NewInstance()->SetValue("name", std::string(name) + "2");
    }
    locked.file->Write();
  }
  const SynchronizedConfigFile locked;
  Texts names;
  for (const auto& outer : BranchOf(locked)->GetArray("outer")->GetInstances()) {
    for (const auto& inner : outer->GetArray("inner")->GetInstances())
      EXPECT_TRUE(inner->GetValue("name", &names.emplace_back()));
  }
  EXPECT_EQ(names, (Texts{"a1", "a2", "b1", "b2"}));
}

TEST_F(Tree, ValueThatIsSetAgainStaysInItsPlace) {
  Put("a", "1");
  Put("b", "2");
  Put("a", "3");
  EXPECT_LT(Document().find("\"a\": \"3\""), Document().find("\"b\": \"2\""));
}

TEST_F(Tree, BranchesAreFoundWithAnyNumberOfSlashes) {
  Put("key", "value", "/Host/Test");
  EXPECT_EQ(Get("key", "Host/Test"), "value");
  EXPECT_EQ(Get("key", "//Host//Test//"), "value");
  Put("key", "top", "/");
  EXPECT_EQ(Get("key", ""), "top");
  EXPECT_EQ(Get("key", "/Host/Test"), "value");
}

TEST_F(Tree, RemoveAllChildrenLeavesNothingBelowAndEverythingBeside) {
  Put("key", "value", "/Host/Test");
  Put("key", "value", "/Host/Test/Below");
  Put("key", "value", "/Host/Beside");
  {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->GetArray("array")->NewInstance()->SetValue("key", "value");
    locked.file->Write();
  }
  {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->RemoveAllChildren();
    locked.file->Write();
  }
  EXPECT_EQ(Get("key"), std::nullopt);
  EXPECT_EQ(Get("key", "/Host/Test/Below"), std::nullopt);
  EXPECT_EQ(Get("key", "/Host/Beside"), "value");
  const SynchronizedConfigFile locked;
  EXPECT_TRUE(BranchOf(locked)->GetArray("array")->GetInstances().empty());
}

TEST_F(Tree, RemoveAllChildrenOfAnAbsentBranchLeavesAnEmptyOne) {
  const SynchronizedConfigFile locked;
  BranchOf(locked)->RemoveAllChildren();
  locked.file->Write();
  EXPECT_EQ(Document(), "{\n  \"Host\": {\n    \"Test\": {}\n  }\n}\n");
}

TEST_F(Tree, GetArrayOfABranchThatIsBeingChangedLeavesAnEmptyArray) {
  Put("old", "value");
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    branch->RemoveAllChildren();
    branch->GetArray("policy");
    locked.file->Write();
  }
  EXPECT_EQ(Document(), "{\n  \"Host\": {\n    \"Test\": {\n      \"policy\": []\n    }\n  }\n}\n");
}

TEST_F(Tree, InstanceMayHaveAnEmptyArrayAndNoValue) {
  {
    const SynchronizedConfigFile locked;
    const auto array = BranchOf(locked)->GetArray("policy");
    array->NewInstance()->GetArray("blobs");
    array->NewInstance();
    locked.file->Write();
  }
  EXPECT_TRUE(Contains(Document(), "\"blobs\": []"));
  const SynchronizedConfigFile locked;
  EXPECT_EQ(BranchOf(locked)->GetArray("policy")->GetInstances().size(), 2U);
}

TEST_F(Tree, ChangeWithoutWriteIsNeverSeen) {
  Put("key", "old");
  const std::string before = Document();
  {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->SetValue("key", "new");
    BranchOf(locked)->GetArray("items")->NewInstance();
    locked.file->GetBranch("/")->RemoveAllChildren();
  }
  EXPECT_EQ(Get("key"), "old");
  EXPECT_EQ(Document(), before);
}

TEST_F(Tree, ExceptionBeforeWriteLeavesTheFileAndReleasesTheLock) {
  Put("key", "old");
  HostPlatform::UseLockTimeout(0);
  try {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->RemoveAllChildren();
    throw std::runtime_error("halfway");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(Get("key"), "old");
}

TEST_F(Tree, HandlesOfOneSessionSeeEachOthersChanges) {
  Put("key", "old");
  const SynchronizedConfigFile locked;
  const auto one = BranchOf(locked);
  const auto other = BranchOf(locked);
  const auto array = other->GetArray("items");
  std::string value;
  EXPECT_TRUE(other->GetValue("key", &value));
  one->SetValue("key", "new");
  EXPECT_TRUE(other->GetValue("key", &value));
  EXPECT_EQ(value, "new");
  one->GetArray("items")->NewInstance()->SetValue("n", "1");
  ASSERT_EQ(array->GetInstances().size(), 1U);
  array->GetInstances()[0]->SetValue("n", "2");
  EXPECT_TRUE(one->GetArray("items")->GetInstances()[0]->GetValue("n", &value));
  EXPECT_EQ(value, "2");
  other->RemoveAllChildren();
  EXPECT_FALSE(one->GetValue("key", &value));
  EXPECT_TRUE(array->GetInstances().empty());
}

TEST_F(Tree, HandlesOfOneSessionSeeEachOthersChangesAfterAWriteThatFailed) {
  EditByHand(R"({"Host": {"Test": {"key": "old"}, "Other": {}}})");
  const SynchronizedConfigFile locked;
  const auto one = BranchOf(locked);
  const auto other = BranchOf(locked);
  const auto changed = BranchOf(locked, "/Host/Other");
  changed->SetValue("key", "x");
  std::string value;
  EXPECT_TRUE(one->GetValue("key", &value));
  EditByHand("{}");
  EXPECT_NE(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
  other->SetValue("key", "new");
  other->GetArray("items")->NewInstance();
  EXPECT_TRUE(one->GetValue("key", &value));
  EXPECT_EQ(value, "new");
  EXPECT_EQ(one->GetArray("items")->GetInstances().size(), 1U);
}

TEST_F(Tree, PathOfTooManyPartsIsRefused) {
  std::string path;
  for (int i = 0; i < 60'000; ++i)
    path += "/a";
  const SynchronizedConfigFile locked;
  EXPECT_TRUE(Contains(MessageOf([&] { locked.file->GetBranch(path); }), "more than 199 parts"));
  locked.file->GetBranch(path.substr(0, 2 * 199))->SetValue("key", "deep");
  locked.file->Write();
  std::string value;
  EXPECT_TRUE(locked.file->GetBranch(path.substr(0, 2 * 199))->GetValue("key", &value));
}

TEST_F(Tree, ArraysThatNestTooDeepAreRefusedWhenTheyAreWritten) {
  Put("key", "old");
  const SynchronizedConfigFile locked;
  std::shared_ptr<ConfigBranch> branch = BranchOf(locked);
  for (int i = 0; i < 101; ++i)
    branch = branch->GetArray("a")->NewInstance();
  EXPECT_TRUE(Contains(MessageOf([&] { locked.file->Write(); }), "deeper than 200 levels"));
  EXPECT_EQ(Document().find("\"a\""), std::string::npos);
}

TEST_F(Tree, SessionWritesAsOftenAsItLikes) {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  const auto instance = branch->GetArray("items")->NewInstance();
  for (int i = 0; i < 5; ++i) {
    branch->SetValue("key", std::to_string(i));
    instance->SetValue("n" + std::to_string(i), "x");
    locked.file->Write();
    EXPECT_TRUE(Contains(Document(), "\"key\": \"" + std::to_string(i) + '"'));
    EXPECT_TRUE(Contains(Document(), "\"n" + std::to_string(i) + "\": \"x\""));
  }
}

TEST_F(Tree, WhatFollowsTheLastWriteIsGone) {
  {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->SetValue("key", "written");
    locked.file->Write();
    BranchOf(locked)->SetValue("key", "too late");
  }
  EXPECT_EQ(Get("key"), "written");
}

TEST_F(Tree, InstanceThatWasRemovedIsRefusedAndNotWrittenElsewhere) {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  const auto instance = branch->GetArray("items")->NewInstance();
  branch->RemoveAllChildren();
  EXPECT_NE(MessageOf([&] { instance->SetValue("key", "value"); }), kNothingRaised);
  locked.file->Write();
  EXPECT_EQ(Document(), "{\n  \"Host\": {\n    \"Test\": {}\n  }\n}\n");
}

TEST_F(Tree, HandleThatOutlivesItsSessionChangesNothing) {
  Put("key", "old");
  std::shared_ptr<ConfigBranch> branch;
  {
    const SynchronizedConfigFile locked;
    branch = BranchOf(locked);
  }
  EXPECT_TRUE(Contains(MessageOf([&] { branch->SetValue("key", "new"); }), "unlocked"));
  EXPECT_EQ(Get("key"), "old");
}

// Deeper than is read back would lock everybody out of the file.
TEST_F(Tree, WritingDeeperThanCanBeReadIsRefused) {
  Put("key", "value");
  const std::string before = Document();
  std::string path;
  for (int i = 0; i < 300; ++i)
    path += "/deep";
  EXPECT_NE(MessageOf([&] { Put("key", "value", path); }), kNothingRaised);
  EXPECT_EQ(Document(), before);
  EXPECT_EQ(MessageOf([] { Get("key"); }), kNothingRaised);
}

}  // namespace
}  // namespace ConfigFileTest
