// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Write() puts a new file in the old one's place, which looks like the old one from outside.
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <string>

#include "support.h"
#include "support/needs.h"

namespace ConfigFileTest {
namespace {

class Replacement : public HostTest {
 protected:
  using HostTest::HostTest;
};

TEST_F(Replacement, IsAnotherFileSoThatReadersKeepTheirs) {
  Put("key", "old");
  const struct stat before = StatusOf(FilePath());
  Put("key", "new");
  EXPECT_NE(StatusOf(FilePath()).st_ino, before.st_ino);
}

TEST_F(Replacement, ModesAreTheSameWhateverTheUmask) {
  Machine::NeedRoot();  // who enters what the umask closes to everybody
  for (const mode_t mask : {0000, 0022, 0077, 0777}) {
    std::filesystem::remove_all(HostPath());
    RunInChild([mask] {
      umask(mask);
      Put("key", "value");
    });
    EXPECT_EQ(ModeOf(HostPath()), 02750U);
    EXPECT_EQ(ModeOf(FilePath()), 0640U);
    EXPECT_EQ(ModeOf(LockPath()), 0600U);
  }
}

TEST_F(Replacement, KeepsModeOwnerAndGroup) {
  Machine::NeedRoot();
  for (const mode_t mode : {0600, 0644, 0660}) {
    EditByHand("{}");
    ASSERT_EQ(chown(FilePath().c_str(), kOwner, kReaders), 0);
    ASSERT_EQ(chmod(FilePath().c_str(), mode), 0);
    umask(0077);
    Put("key", "value");
    umask(0022);
    EXPECT_EQ(ModeOf(FilePath()), mode);
    EXPECT_EQ(StatusOf(FilePath()).st_uid, kOwner);
    EXPECT_EQ(StatusOf(FilePath()).st_gid, kReaders);
  }
}

TEST_F(Replacement, KeepsALinkAndReplacesWhatItPointsTo) {
  MakeHost();
  const std::string elsewhere = temporary_.PathOf("elsewhere");
  ASSERT_EQ(mkdir(elsewhere.c_str(), 0755), 0);
  WriteFile(elsewhere + "/real.json", R"({"other": 1})");
  ASSERT_EQ(chmod((elsewhere + "/real.json").c_str(), 0604), 0);
  ASSERT_EQ(symlink("../elsewhere/middle.json", FilePath().c_str()), 0);
  ASSERT_EQ(symlink("real.json", (elsewhere + "/middle.json").c_str()), 0);
  Put("key", "value");
  EXPECT_TRUE(S_ISLNK(StatusOf(FilePath()).st_mode));
  EXPECT_TRUE(S_ISLNK(StatusOf(elsewhere + "/middle.json").st_mode));
  EXPECT_TRUE(S_ISREG(StatusOf(elsewhere + "/real.json").st_mode));
  EXPECT_EQ(ModeOf(elsewhere + "/real.json"), 0604U);
  EXPECT_TRUE(Contains(ReadFile(elsewhere + "/real.json"), "\"other\": 1"));
  EXPECT_TRUE(Contains(ReadFile(elsewhere + "/real.json"), "\"key\": \"value\""));
  EXPECT_EQ(Get("key"), "value");
  EXPECT_EQ(NamesIn(elsewhere), (Texts{"middle.json", "real.json"}));
  EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}));
}

TEST_F(Replacement, FollowsALinkThatIsTurnedToAnotherFile) {
  MakeHost();
  WriteFile(temporary_.PathOf("one"), R"({"key": "1"})");
  WriteFile(temporary_.PathOf("two"), R"({"key": "2"})");
  ASSERT_EQ(symlink("../one", FilePath().c_str()), 0);
  EXPECT_EQ(Get("key", "/"), "1");
  ASSERT_EQ(unlink(FilePath().c_str()), 0);
  ASSERT_EQ(symlink("../two", FilePath().c_str()), 0);
  EXPECT_EQ(Get("key", "/"), "2");
}

TEST_F(Replacement, OfALinkThatLeadsNowhereIsRefusedAndTheLinkStays) {
  MakeHost();
  ASSERT_EQ(symlink("../nowhere", FilePath().c_str()), 0);
  EXPECT_TRUE(
      Contains(MessageOf([] { Get("key"); }), "a symbolic link to a file that is not there"));
  EXPECT_NE(MessageOf([] { Put("key", "value"); }), kNothingRaised);
  EXPECT_TRUE(S_ISLNK(StatusOf(FilePath()).st_mode));
  EXPECT_FALSE(Exists(temporary_.PathOf("nowhere")));
}

// A rename cannot do otherwise: the second name keeps the document as it was.
TEST_F(Replacement, OfAFileWithASecondNameLeavesTheSecondNameBehind) {
  Put("key", "old");
  const std::string before = Document();
  ASSERT_EQ(link(FilePath().c_str(), temporary_.PathOf("second").c_str()), 0);
  Put("key", "new");
  EXPECT_EQ(ReadFile(temporary_.PathOf("second")), before);
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(Replacement, InADirectoryThatEverybodyMayWriteToIsRefused) {
  Put("key", "old");
  for (const mode_t mode : {0777, 01777, 0752}) {
    ASSERT_EQ(chmod(HostPath().c_str(), mode), 0);
    EXPECT_EQ(Get("key"), "old");
    EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), "everybody may write"));
  }
  ASSERT_EQ(chmod(HostPath().c_str(), 0750), 0);
  EXPECT_EQ(Get("key"), "old");
}

TEST_F(Replacement, InADirectoryThatEverybodyMayWriteToIsRefusedForTheFirstWriteToo) {
  MakeHost();
  ASSERT_EQ(chmod(HostPath().c_str(), 0777), 0);
  EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), "everybody may write"));
  EXPECT_EQ(NamesIn(HostPath()), Texts{});
}

// Anybody could turn such a link to another file.
TEST_F(Replacement, ThroughALinkInADirectoryThatEverybodyMayWriteToIsRefused) {
  Put("key", "old");
  ASSERT_EQ(rename(FilePath().c_str(), temporary_.PathOf("real").c_str()), 0);
  ASSERT_EQ(symlink("../real", FilePath().c_str()), 0);
  ASSERT_EQ(chmod(HostPath().c_str(), 0777), 0);
  EXPECT_NE(MessageOf([] { Put("key", "new"); }), kNothingRaised);
  EXPECT_EQ(Get("key"), "old");
}

TEST_F(Replacement, OfWhatIsNoPlainFileIsRefused) {
  MakeHost();
  ASSERT_EQ(mkdir(FilePath().c_str(), 0755), 0);
  EXPECT_TRUE(Contains(MessageOf([] { Get("key"); }), FilePath()));
  ASSERT_EQ(rmdir(FilePath().c_str()), 0);
  ASSERT_EQ(mkfifo(FilePath().c_str(), 0644), 0);
  EXPECT_TRUE(Contains(MessageOf([] { Get("key"); }), "not a plain file"));
  EXPECT_NE(MessageOf([] { Put("key", "value"); }), kNothingRaised);
  EXPECT_TRUE(S_ISFIFO(StatusOf(FilePath()).st_mode));
}

// In the first of TMPDIR and the build directory whose file system keeps such attributes.
std::string PlaceWithUserAttributes() {
  for (const std::string& place : {TemporariesPlace(), std::string(CONFIGFILE_BUILD_DIRECTORY)}) {
    const TemporaryDirectory probe(place);
    if (setxattr(probe.path().c_str(), "user.probe", "1", 1, 0) == 0) return place;
  }
  throw std::runtime_error("neither TMPDIR nor the build directory keeps user attributes");
}

class Attributes : public Replacement {
 protected:
  Attributes() : Replacement(PlaceWithUserAttributes()) {}

  std::string AttributeOf(const char* name) const {
    char value[64] = {};
    const ssize_t size = getxattr(FilePath().c_str(), name, value, sizeof value);
    return size < 0 ? "(absent)" : std::string(value, static_cast<std::size_t>(size));
  }
};

TEST_F(Attributes, AreKept) {
  EditByHand("{}");
  ASSERT_EQ(setxattr(FilePath().c_str(), "user.label", "kept\0all", 8, 0), 0);
  ASSERT_EQ(setxattr(FilePath().c_str(), "user.empty", "", 0, 0), 0);
  for (int i = 0; i < 2; ++i) {
    Put("key", std::to_string(i));
    EXPECT_EQ(AttributeOf("user.label"), std::string("kept\0all", 8));
    EXPECT_EQ(AttributeOf("user.empty"), "");
  }
}

}  // namespace
}  // namespace ConfigFileTest
