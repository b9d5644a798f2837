// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Flushes that fail, and what is changed while they take their time: each is made, and looked at.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "faults/system_calls.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

class Flushes : public HostTest {
 protected:
  // What the call raises when the flush of that file or directory fails.
  template <typename Call>
  static std::errc ErrorWithoutFlushOf(const std::string& path, Call call) {
    std::errc error = {};
    Watch([&](const SystemCall& made) {
      return made.name == "fsync" && made.path == path ? EIO : 0;
    });
    try {
      call();
    } catch (const std::system_error& failure) {
      error = static_cast<std::errc>(failure.code().value());
    }
    Stop();
    return error;
  }

  static void SetSwitch() { HostPlatform::SetFeature(9, true); }
  static void AddFile() { HostPlatform::AddNumberedFile("folder", ".txt", "content"); }
};

TEST_F(Flushes, OfASwitchFails) {
  SetSwitch();
  EXPECT_EQ(ErrorWithoutFlushOf("features", SetSwitch), std::errc::io_error);
  EXPECT_EQ(ErrorWithoutFlushOf("", SetSwitch), std::errc()) << "and works again";
}

TEST_F(Flushes, OfTheDirectoryWithTheFirstSwitchFails) {
  EXPECT_EQ(ErrorWithoutFlushOf("host", SetSwitch), std::errc::io_error);
  EXPECT_EQ(ErrorWithoutFlushOf("", SetSwitch), std::errc());
}

TEST_F(Flushes, OfTheDirectoryThatANewHostDirectoryIsInTakesItAwayWhenItFails) {
  const std::string parent = temporary_.path().substr(temporary_.path().rfind('/') + 1);
  EXPECT_EQ(ErrorWithoutFlushOf(parent, SetSwitch), std::errc::io_error);
  EXPECT_FALSE(Exists(HostPath()));
  EXPECT_EQ(ErrorWithoutFlushOf(parent, AddFile), std::errc::io_error);
  EXPECT_FALSE(Exists(HostPath()));
  AddFile();
}

TEST_F(Flushes, OfTheDirectoryThatANewFolderIsInTakesItAwayWhenItFails) {
  Put(OpenStore(), "a", "old");
  EXPECT_EQ(ErrorWithoutFlushOf("host", AddFile), std::errc::io_error);
  EXPECT_FALSE(Exists(PathOf("folder")));
  AddFile();
}

// As after a removal of the lock file: the last look at what is replaced comes behind the flush.
TEST_F(Flushes, OfASnapshotIsFollowedByALookAtTheOneThatIsReplaced) {
  Put(OpenStore(), "a", "old");
  ino_t ofOthers = 0;
  std::string message;
  Watch([&](const SystemCall& call) {
    if (call.name == "fsync" && call.path.find(".new-") != std::string::npos) {
      ReplaceFile(SnapshotPath(), ReadFile(SnapshotPath()));
      ofOthers = StatusOf(SnapshotPath()).st_ino;
    }
    return 0;
  });
  EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", "new"); }, &message), kBusy);
  Stop();
  EXPECT_NE(message.find("another writer changed it"), std::string::npos) << message;
  EXPECT_EQ(StatusOf(SnapshotPath()).st_ino, ofOthers);
}

}  // namespace
}  // namespace PlatformTest
