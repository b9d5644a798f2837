// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Files that a tool keeps in a directory of its own in the host directory.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

class NumberedFiles : public HostTest {
 protected:
  static std::uint64_t Add(const std::string& content) {
    return HostPlatform::AddNumberedFile("kept", ".txt", content);
  }

  std::string FolderPath() const { return PathOf("kept"); }
  std::string KeptPath(const std::string& name) const { return FolderPath() + '/' + name; }

  // The errno value of a failure, 0 without one.
  static int ErrorOf(const std::function<void()>& call, std::string* message = nullptr) {
    try {
      call();
    } catch (const std::system_error& failure) {
      if (message != nullptr) *message = failure.what();
      return failure.code().value();
    }
    return 0;
  }
};

TEST_F(NumberedFiles, CountUpFromOne) {
  EXPECT_EQ(Add("one"), 1U);
  EXPECT_EQ(Add("two"), 2U);
  EXPECT_EQ(ReadFile(KeptPath("1.txt")), "one");
  EXPECT_EQ(ReadFile(KeptPath("2.txt")), "two");
}

TEST_F(NumberedFiles, GoOnBehindTheHighestWhateverItsSuffix) {
  Add("one");
  WriteFile(KeptPath("41.other"), "");
  WriteFile(KeptPath("x99"), "");
  EXPECT_EQ(Add("two"), 42U);
}

TEST_F(NumberedFiles, HaveTheModesAndTheOwnerOfTheHostDirectory) {
  Machine::NeedRoot();
  for (const mode_t mask : {0, 077}) {
    const TemporaryDirectory place;
    ASSERT_EQ(mkdir(place.PathOf("host").c_str(), 0700), 0);
    ASSERT_EQ(chown(place.PathOf("host").c_str(), kStranger, kReaders), 0);
    RunInChild([&] {
      umask(mask);
      HostPlatform::UseHostDirectory(place.PathOf("host"));
      Add("content");
    });
    const std::string folder = place.PathOf("host/kept");
    EXPECT_EQ(ModeOf(folder), 02750U);
    EXPECT_EQ(ModeOf(folder + "/1.txt"), 0640U);
    EXPECT_EQ(ModeOf(folder + "/.lock"), 0600U);
    for (const std::string& path : {folder, folder + "/1.txt", folder + "/.lock"}) {
      EXPECT_EQ(StatusOf(path).st_uid, kStranger) << path;
      EXPECT_EQ(StatusOf(path).st_gid, kReaders) << path;
    }
  }
}

TEST_F(NumberedFiles, OfSeveralPartsAreWholeOrNotMade) {
  const auto add = [](bool fails) {
    return HostPlatform::AddNumberedFile("kept", ".txt", [fails](const auto& append) {
      append("one, ");
      append("");
      append(std::string(100000, 'x'));
      if (fails) throw std::out_of_range("no more");
    });
  };
  EXPECT_EQ(add(false), 1U);
  EXPECT_EQ(ReadFile(KeptPath("1.txt")), "one, " + std::string(100000, 'x'));
  EXPECT_THROW(add(true), std::out_of_range);
  EXPECT_EQ(NamesIn(FolderPath()), (std::vector<std::string>{".lock", "1.txt"}));
  EXPECT_EQ(add(false), 2U);
}

TEST_F(NumberedFiles, AreAddedOnceByEachOfSeveralProcesses) {
  constexpr int kProcesses = 4;
  constexpr int kEach = 10;
  {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int i = 0; i < kProcesses; ++i) {
      children.push_back(std::make_unique<ChildProcess>([] {
        for (int j = 0; j < kEach; ++j)
          Add("content");
      }));
    }
    for (const auto& child : children)
      EXPECT_TRUE(child->Succeeds());
  }
  EXPECT_EQ(NamesIn(FolderPath()).size(), std::size_t{kProcesses * kEach + 1});  // and the lock
  EXPECT_TRUE(Exists(KeptPath(std::to_string(kProcesses * kEach) + ".txt")));
}

TEST_F(NumberedFiles, LeftoversOfAKilledWriterAreRemoved) {
  Add("one");
  WriteFile(KeptPath(".9.txt.new-0123456789abcdef"), "half");
  EXPECT_EQ(Add("two"), 2U);
  EXPECT_FALSE(Exists(KeptPath(".9.txt.new-0123456789abcdef")));
}

TEST_F(NumberedFiles, FilesThatOnlyLookLikeLeftoversStay) {
  Add("one");
  const std::vector<std::string> names = {".x.txt.new-0123456789abcdef", ".9.txt.new-0123",
                                          ".9.txt.new-0123456789abcdeg", ".9.new-er.draft"};
  for (const std::string& name : names)
    WriteFile(KeptPath(name), "");
  Add("two");
  for (const std::string& name : names)
    EXPECT_TRUE(Exists(KeptPath(name))) << name;
}

TEST_F(NumberedFiles, NoneIsAddedBehindTheHighestNumberThereCanBe) {
  Add("one");
  WriteFile(KeptPath("18446744073709551615.txt"), "last");
  std::string message;
  EXPECT_EQ(ErrorOf([] { Add("two"); }, &message), EIO);
  EXPECT_NE(message.find(KeptPath("18446744073709551615.txt")), std::string::npos) << message;
  const std::vector<std::string> names = {".lock", "1.txt", "18446744073709551615.txt"};
  EXPECT_EQ(NamesIn(FolderPath()), names);
}

TEST_F(NumberedFiles, FileInThePlaceOfTheFolderIsRaised) {
  Add("one");
  WriteFile(PathOf("taken"), "");
  std::string message;
  EXPECT_EQ(ErrorOf([] { HostPlatform::AddNumberedFile("taken", ".txt", ""); }, &message), ENOTDIR);
  EXPECT_NE(message.find(PathOf("taken")), std::string::npos) << message;
}

TEST_F(NumberedFiles, DirectoryThatEverybodyMayWriteToIsRefused) {
  Add("one");
  ASSERT_EQ(chmod(HostPath().c_str(), 0777), 0);
  EXPECT_EQ(ErrorOf([] { Add("two"); }), EACCES);
  ASSERT_EQ(chmod(HostPath().c_str(), 02750), 0);
  EXPECT_EQ(NamesIn(FolderPath()).size(), 2U);
}

// The directory's owner could send root anywhere by it.
TEST_F(NumberedFiles, LinkInThePlaceOfTheFolderIsNotFollowed) {
  Machine::NeedRoot();
  const TemporaryDirectory elsewhere;
  Add("one");
  ASSERT_EQ(chown(HostPath().c_str(), kStranger, kReaders), 0);
  ASSERT_EQ(symlink(elsewhere.path().c_str(), PathOf("planted").c_str()), 0);
  std::string message;
  EXPECT_EQ(ErrorOf([] { HostPlatform::AddNumberedFile("planted", ".txt", "content"); }, &message),
            EACCES);
  EXPECT_NE(message.find(PathOf("planted")), std::string::npos) << message;
  EXPECT_NE(message.find("symbolic link"), std::string::npos) << message;
  EXPECT_EQ(NamesIn(elsewhere.path()), std::vector<std::string>());
}

TEST_F(NumberedFiles, FolderOfSomebodyElseIsRefused) {
  Machine::NeedRoot();
  Add("one");
  ASSERT_EQ(chown(HostPath().c_str(), kStranger, kReaders), 0);
  for (const uid_t owner : {uid_t{0}, kStranger}) {
    ASSERT_EQ(chown(FolderPath().c_str(), owner, kReaders), 0);
    EXPECT_EQ(ErrorOf([] { Add("two"); }), 0) << owner;
  }
  ASSERT_EQ(chown(FolderPath().c_str(), kOtherStranger, kReaders), 0);
  std::string message;
  EXPECT_EQ(ErrorOf([] { Add("three"); }, &message), EACCES);
  EXPECT_NE(message.find(FolderPath()), std::string::npos) << message;
  EXPECT_EQ(NamesIn(FolderPath()).size(), 4U);
}

TEST_F(NumberedFiles, FolderThatEverybodyMayWriteToIsRefused) {
  Add("one");
  ASSERT_EQ(chmod(FolderPath().c_str(), 02757), 0);
  std::string message;
  EXPECT_EQ(ErrorOf([] { Add("two"); }, &message), EACCES);
  EXPECT_NE(message.find(FolderPath() + ": everybody"), std::string::npos) << message;
  EXPECT_EQ(NamesIn(FolderPath()).size(), 2U);
}

TEST_F(NumberedFiles, UserWhoMayNotWriteIsRefused) {
  Machine::NeedRoot();
  Add("one");
  ASSERT_EQ(chmod(HostPath().c_str(), 0755), 0);
  RunInChild([] {
    BecomeUser(kStranger, {kStranger});
    EXPECT_EQ(ErrorOf([] { Add("two"); }), EACCES);
  });
}

}  // namespace
}  // namespace PlatformTest
