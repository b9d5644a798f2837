// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// That a store is gone is not that nothing is stored.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

// After this, calls look at the file again.
void StartNextTick() {
  std::this_thread::sleep_for(std::chrono::milliseconds(25));
}

class Absence : public HostTest {
 protected:
  Absence() {
    Put(OpenStore(), "a", "1");
    OpenStore();  // the process has read it
  }

  void Move(const std::string& from, const std::string& to) const {
    ASSERT_EQ(std::rename(from.c_str(), to.c_str()), 0) << from;
  }
};

TEST_F(Absence, OfAStoreThatWasThereIsRaisedUntilOneIsThereAgain) {
  const Store store = OpenStore();
  Move(SnapshotPath(), PathOf("away"));
  StartNextTick();
  std::string message;
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(OpenCode(&message), kIoError);
  EXPECT_NE(message.find(SnapshotPath() + ": it is gone"), std::string::npos) << message;
  EXPECT_EQ(CodeOf([&] { store->BeginTransaction(); }), kIoError);
  EXPECT_EQ(Get(store, "a"), "1") << "the handle keeps what it reads";
  Move(PathOf("away"), SnapshotPath());
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

TEST_F(Absence, EndsWithTheCommitOfAProcessThatNeverSawTheStore) {
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  StartNextTick();
  EXPECT_EQ(OpenCode(), kIoError);
  RunInChild([this] {
    HostPlatform::UseHostDirectory(HostPath());
    EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
    Put(OpenStore(), "b", "2");
  });
  EXPECT_EQ(List(OpenStore()), Texts{"2"});
}

TEST_F(Absence, OfTheHostDirectoryIsNoReasonToMakeItAnew) {
  const Store store = OpenStore();
  Move(HostPath(), temporary_.PathOf("bad"));
  StartNextTick();
  EXPECT_EQ(OpenCode(), kIoError);
  EXPECT_EQ(CodeOf([&] { Put(store, "a", "2"); }), kIoError);
  EXPECT_FALSE(Exists(HostPath()));
  Move(temporary_.PathOf("bad"), HostPath());
  Put(store, "a", "2");
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

TEST_F(Absence, OfWhatALinkToTheHostDirectoryLeadsToIsRaisedByWriters) {
  const std::string link = temporary_.PathOf("link");
  ASSERT_EQ(symlink("not mounted", link.c_str()), 0);
  HostPlatform::UseHostDirectory(link);
  EXPECT_NE(WriteCode(), kNothing);
  EXPECT_FALSE(Exists(temporary_.PathOf("not mounted")));
}

// The name of a mount point keeps its file, whatever becomes of that elsewhere.
TEST_F(Absence, OfTheNameOfABindMountedFileIsRaised) {
  Machine::NeedNamespaces();
  const std::string container = temporary_.PathOf("container");
  RunInChild([&] {
    HostPlatform::UseHostDirectory(container);
    Put(OpenStore(), "a", "of the container");
  });
  RunInChild([&] {
    ASSERT_TRUE(Machine::KeepMountsPrivate());
    const std::string inContainer = container + "/config-store.cdb";
    ASSERT_EQ(mount(SnapshotPath().c_str(), inContainer.c_str(), nullptr, MS_BIND, nullptr), 0);
    HostPlatform::UseHostDirectory(container);
    EXPECT_EQ(Get(OpenStore(), "a"), "1");
    HostPlatform::UseHostDirectory(HostPath());
    Put(OpenStore(), "a", "2");
    HostPlatform::UseHostDirectory(container);
    std::string message;
    for (int i = 0; i < 2; ++i)
      EXPECT_EQ(OpenCode(&message), kIoError);
    EXPECT_NE(message.find("mount the host directory"), std::string::npos) << message;
  });
}

}  // namespace
}  // namespace PlatformTest
