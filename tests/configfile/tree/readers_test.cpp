// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Readers change nothing, not even by asking for what is not there.
#include <gtest/gtest.h>

#include <string>

#include "support.h"

namespace ConfigFileTest {
namespace {

using Readers = HostTest;

// Everything that a reader may ask, about things that are absent.
void AskForAbsentThings() {
  const SynchronizedConfigFile locked;
  for (const char* const path : {"/", "/Quor/Policy-Info", "/a/b/c/d"}) {
    const auto branch = locked.file->GetBranch(path);
    ASSERT_NE(branch, nullptr);
    std::string text = "untouched";
    int number = 17;
    EXPECT_FALSE(branch->GetValue("absent", &text));
    EXPECT_FALSE(branch->GetValue("absent", &number));
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(number, 17);
    const auto array = branch->GetArray("absent");
    ASSERT_NE(array, nullptr);
    EXPECT_TRUE(array->GetInstances().empty());
  }
}

TEST_F(Readers, AbsentDirectoryStaysAbsent) {
  AskForAbsentThings();
  EXPECT_FALSE(Exists(HostPath()));
}

TEST_F(Readers, EmptyDirectoryStaysEmpty) {
  MakeHost();
  AskForAbsentThings();
  EXPECT_EQ(NamesIn(HostPath()), Texts{});
}

TEST_F(Readers, HandWrittenFileStaysAsItIsWithoutALockFile) {
  EditByHand(R"({"Quor": {"Policy-Info": null}})");
  const struct stat before = StatusOf(FilePath());
  AskForAbsentThings();
  EXPECT_EQ(NamesIn(HostPath()), Texts{"host-config.json"});
  EXPECT_EQ(Document(), R"({"Quor": {"Policy-Info": null}})");
  EXPECT_EQ(StatusOf(FilePath()).st_ino, before.st_ino);
}

TEST_F(Readers, WrittenFileStaysAsItIs) {
  Put("key", "value");
  const std::string document = Document();
  const struct stat before = StatusOf(FilePath());
  const Texts names = NamesIn(HostPath());
  AskForAbsentThings();
  EXPECT_EQ(NamesIn(HostPath()), names);
  EXPECT_EQ(Document(), document);
  EXPECT_EQ(StatusOf(FilePath()).st_ino, before.st_ino);
}

TEST_F(Readers, FirstChangeMakesDirectoryFileAndLockFile) {
  Put("key", "value");
  EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}));
}

TEST_F(Readers, FirstChangeThatIsNotWrittenMakesNoFile) {
  {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->SetValue("key", "value");
  }
  EXPECT_FALSE(Exists(FilePath()));
  EXPECT_EQ(Get("key"), std::nullopt);
}

TEST_F(Readers, FirstSessionReadsChangesAndWrites) {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  std::string value;
  EXPECT_FALSE(branch->GetValue("key", &value));
  branch->SetValue("key", "value");
  EXPECT_TRUE(branch->GetValue("key", &value));
  locked.file->Write();
  EXPECT_TRUE(Contains(Document(), "\"key\": \"value\""));
}

TEST_F(Readers, FirstChangeIsRefusedWhenAnotherProcessWroteAfterAnAnswer) {
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    std::string value;
    EXPECT_FALSE(branch->GetValue("key", &value));
    RunInChild([] { Put("key", "theirs"); });
    EXPECT_TRUE(Contains(MessageOf([&] { branch->SetValue("key", "mine"); }), "another process"));
  }
  EXPECT_EQ(Get("key"), "theirs");
}

// Otherwise a caller that carries on would write over what it has never seen.
TEST_F(Readers, SessionWhoseFirstChangeWasRefusedStaysRefused) {
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    std::string value;
    EXPECT_FALSE(branch->GetValue("key", &value));
    RunInChild([] { Put("key", "theirs"); });
    EXPECT_NE(MessageOf([&] { branch->SetValue("key", "mine"); }), kNothingRaised);
    EXPECT_NE(MessageOf([&] { branch->SetValue("key", "mine"); }), kNothingRaised);
    EXPECT_NE(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
  }
  EXPECT_EQ(Get("key"), "theirs");
}

TEST_F(Readers, FirstChangeKeepsWhatAnotherProcessWroteBeforeAnyAnswer) {
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    RunInChild([] { Put("theirs", "1"); });
    branch->SetValue("mine", "2");
    locked.file->Write();
  }
  EXPECT_EQ(Get("theirs"), "1");
  EXPECT_EQ(Get("mine"), "2");
}

}  // namespace
}  // namespace ConfigFileTest
