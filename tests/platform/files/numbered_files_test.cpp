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

TEST_F(NumberedFiles, UserWhoMayNotWriteIsRefused) {
  Add("one");
  ASSERT_EQ(chmod(HostPath().c_str(), 0755), 0);
  RunInChild([] {
    BecomeUser(kStranger, {kStranger});
    EXPECT_EQ(ErrorOf([] { Add("two"); }), EACCES);
  });
}

}  // namespace
}  // namespace PlatformTest
