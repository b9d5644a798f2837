// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The file while somebody changes it past the lock, and the owners that a link to it may have.
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "brisk/exception.h"
#include "support.h"
#include "support/needs.h"

namespace ConfigFileTest {
namespace {

using ChangedMeanwhile = HostTest;

constexpr char kOfOthers[] = "{\"other\": \"kept\"}\n";

// What a session that has the lock answers when it writes over a change by hand.
std::string WriteAfter(const std::function<void()>& change) {
  const SynchronizedConfigFile locked;
  BranchOf(locked)->SetValue("key", "new");
  change();
  return MessageOf([&] { locked.file->Write(); });
}

TEST_F(ChangedMeanwhile, FileOfAnotherIsNotOverwritten) {
  Put("key", "old");
  EXPECT_TRUE(Contains(WriteAfter([&] { EditByHand(kOfOthers); }), "another process changed it"));
  EXPECT_EQ(Document(), kOfOthers);
}

TEST_F(ChangedMeanwhile, FileThatIsEditedInPlaceIsNotOverwritten) {
  Put("key", "old");
  EXPECT_TRUE(Contains(WriteAfter([&] { WriteFile(FilePath(), kOfOthers); }), "changed by hand"));
  EXPECT_EQ(Document(), kOfOthers);
  Put("key", "new");
  EXPECT_EQ(Get("key"), "new");
  EXPECT_EQ(Get("other", "/"), "kept");
}

// Which changes nothing of what is stored.
TEST_F(ChangedMeanwhile, ModeOrTimesOfTheFileAreNoReasonToRefuseAndTheModeIsKept) {
  Put("key", "old");
  EXPECT_EQ(WriteAfter([&] { Check(chmod(FilePath().c_str(), 0604) == 0, FilePath()); }),
            kNothingRaised);
  EXPECT_EQ(Get("key"), "new");
  EXPECT_EQ(ModeOf(FilePath()), 0604U);
  Put("key", "old");
  EXPECT_EQ(WriteAfter([&] { Check(utimes(FilePath().c_str(), nullptr) == 0, FilePath()); }),
            kNothingRaised);
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(ChangedMeanwhile, SecondWriteOfASessionDoesNotOverwriteOthersEither) {
  const SynchronizedConfigFile locked;
  BranchOf(locked)->SetValue("key", "first");
  locked.file->Write();
  BranchOf(locked)->SetValue("key", "second");
  locked.file->Write();
  EditByHand(kOfOthers);
  BranchOf(locked)->SetValue("key", "third");
  EXPECT_TRUE(Contains(MessageOf([&] { locked.file->Write(); }), "changed by hand"));
  EXPECT_EQ(Document(), kOfOthers);
}

TEST_F(ChangedMeanwhile, FileThatAppearsIsNotOverwritten) {
  MakeHost();
  EXPECT_TRUE(Contains(WriteAfter([&] { EditByHand(kOfOthers); }), "another process changed it"));
  EXPECT_EQ(Document(), kOfOthers);
}

TEST_F(ChangedMeanwhile, FileThatDisappearsIsNotPutBack) {
  Put("key", "old");
  EXPECT_TRUE(Contains(WriteAfter([&] { std::filesystem::remove(FilePath()); }),
                       "another process changed it"));
  EXPECT_FALSE(Exists(FilePath()));
}

// A host without a lock file: a session has no lock before its first change.
TEST_F(ChangedMeanwhile, FileThatIsRewrittenInPlaceBeforeTheFirstChangeIsNoticed) {
  const std::string document = R"({"Host": {"Test": {"key": "old"}}})";
  for (const std::string& rewritten :
       {document, document + '\n', std::string(R"({"Host": {"Test": {"key": "odd"}}})")}) {
    std::filesystem::remove(LockPath());
    EditByHand(document);
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    std::string value;
    EXPECT_TRUE(branch->GetValue("key", &value));
    WriteFile(FilePath(), rewritten);
    EXPECT_EQ(MessageOf([&] { branch->SetValue("key", "new"); }) == kNothingRaised,
              rewritten == document)
        << rewritten;
    if (rewritten != document) continue;
    EXPECT_EQ(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
  }
}

TEST_F(ChangedMeanwhile, SessionThatCouldNotReadTheChangedFileDoesNotTrustWhatItReadBefore) {
  EditByHand(R"({"Host": {"Test": {"key": "old"}}})");
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  std::string value;
  EXPECT_TRUE(branch->GetValue("key", &value));
  WriteFile(FilePath(), "{");
  EXPECT_NE(MessageOf([&] { branch->SetValue("other", "1"); }), kNothingRaised);
  WriteFile(FilePath(), R"({"Host": {"Test": {"key": "newer"}}})");
  EXPECT_TRUE(Contains(MessageOf([&] { branch->SetValue("other", "1"); }), "since it was read"));
  EXPECT_NE(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
}

TEST_F(ChangedMeanwhile, WhitespaceOfEveryKindIsReadAroundTheDocument) {
  EditByHand(" \t\r\n{\"Host\":\t{\"Test\":\r\n{\"key\": 17 \t\r\n}}} \t\r\n");
  EXPECT_EQ(Get("key"), "17");
}

TEST_F(ChangedMeanwhile, BracketsWithoutBeginningAreRefused) {
  for (const char* document : {"}", "]", " } {", "{}}", "{}]", "{} \t\r\nmore"}) {
    EditByHand(document);
    EXPECT_NE(MessageOf([] { Get("key"); }), kNothingRaised) << document;
  }
}

TEST_F(ChangedMeanwhile, LinkOfTheDirectorysOwnerIsFollowedByRootAndByHimself) {
  Machine::NeedRoot();
  MakeHost();
  ASSERT_EQ(chown(HostPath().c_str(), kOwner, kReaders), 0);
  WriteFile(PathOf("real"), "{}");
  ASSERT_EQ(chown(PathOf("real").c_str(), kOwner, kReaders), 0);
  ASSERT_EQ(symlink("real", FilePath().c_str()), 0);
  ASSERT_EQ(lchown(FilePath().c_str(), kOwner, kReaders), 0);
  Put("key", "of root");
  RunInChild([] {
    BecomeUser(kOwner, {kOwner, kReaders});
    EXPECT_EQ(Get("key"), "of root");
    Put("key", "of the owner");
  });
  EXPECT_EQ(Get("key"), "of the owner");
  EXPECT_TRUE(S_ISLNK(StatusOf(FilePath()).st_mode));
}

TEST_F(ChangedMeanwhile, OtherExceptionsAreNoMatterOfPermission) {
  EXPECT_FALSE(HostPlatform::IsPermissionFailure(Brisk::Lib::BriskException("Permission denied")));
  try {
    EditByHand("{");
    Get("key");
    ADD_FAILURE() << "nothing was raised";
  } catch (const ConfigFileException& failure) {
    EXPECT_FALSE(HostPlatform::IsPermissionFailure(failure));
  }
}

}  // namespace
}  // namespace ConfigFileTest
