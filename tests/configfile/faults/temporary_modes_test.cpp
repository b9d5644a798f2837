// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What stands in the host directory while it is being written: for its owner alone, whatever the
// umask.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "access_list.h"
#include "faults/system_calls.h"
#include "platform/admin.h"
#include "support.h"
#include "support/needs.h"
#include "tavconfigstore/config_store.h"

namespace ConfigFileTest {
namespace {

using PlatformTest::Stop;
using PlatformTest::SystemCall;
using PlatformTest::Watch;

class TemporaryModes : public HostTest {
 protected:
  // Looks at every file before each change of it, from the first write to the rename. The modes of
  // temporaries may be those of the file that they replace from the flush on.
  void WatchTemporaries() {
    Watch([this](const SystemCall& call) {
      if (call.name == "write" && call.path.find(".new-") != std::string::npos) {
        EXPECT_EQ(ModeOf(PathOf(call.path)) & ~0600U, 0U) << call.path;
        ++temporaries_;
      }
      return 0;
    });
  }

  int temporaries_ = 0;
};

TEST_F(TemporaryModes, AreTheOwnersAloneWhileTheyAreWritten) {
  Machine::NeedRoot();  // who enters what the umask closes to everybody
  for (const mode_t mask : {0, 022, 077, 0777}) {
    RunInChild([&] {
      umask(mask);
      WatchTemporaries();
      Put("key", "value");
      const auto store = TavConfigStore::ConfigStore::GetStore(TavConfigStore::sGlobalNamespace);
      store->SetObject(std::make_shared<TavConfigStore::ConfigStoreObject>(
                           TavConfigStore::ConfigStoreObjectId("kind", "group", "tests", "a")),
                       0);
      HostPlatform::SetFeature(9, true);
      Stop();
      EXPECT_GE(temporaries_, 3) << "of the file, of the store, of the switches";
      EXPECT_EQ(ModeOf(FilePath()), 0640U);
      EXPECT_EQ(ModeOf(LockPath()), 0600U);
      for (const char* name : {"config-store.cdb", "features"})
        EXPECT_EQ(ModeOf(PathOf(name)), 0640U) << name;
      EXPECT_EQ(ModeOf(PathOf("config-store.lock")), 0600U);
      EXPECT_EQ(ModeOf(HostPath()), 02750U);
      EXPECT_EQ(NamesIn(HostPath()).size(), 5U);
    });
    std::filesystem::remove_all(HostPath());
    HostPlatform::UseHostDirectory(HostPath());
  }
}

class TemporaryAccessLists : public HostTest {
 protected:
  TemporaryAccessLists() : HostTest(PlaceWithAccessLists()) {}
};

// Before, the group's part of the mode would be the group's rights.
TEST_F(TemporaryAccessLists, AreSetBeforeTheGroupsPartOfTheMode) {
  Put("key", "old");
  ASSERT_TRUE(SetList(FilePath(), kAccessList, ListFor(kStranger, 0)));
  int looks = 0;
  Watch([&](const SystemCall& call) {
    if (call.path.find(".new-") == std::string::npos || !Exists(PathOf(call.path))) return 0;
    ++looks;
    const bool hasList = !ListOf(PathOf(call.path)).empty();
    EXPECT_TRUE(hasList || (ModeOf(PathOf(call.path)) & 0070) == 0) << call.name;
    return 0;
  });
  Put("key", "new");
  Stop();
  EXPECT_GT(looks, 3);
  EXPECT_EQ(ListOf(FilePath()), ListFor(kStranger, 0));
}

}  // namespace
}  // namespace ConfigFileTest
