// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Owners, modes and attributes of what is created and replaced, and what is left alone.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <system_error>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

using Modes = HostTest;

TEST_F(Modes, OfWhatIsCreatedDoNotDependOnTheUmask) {
  Machine::NeedRoot();  // who enters what the umask closes to everybody
  for (const mode_t mask : {0, 022, 077, 0777}) {
    const TemporaryDirectory place;
    RunInChild([&] {
      umask(mask);
      HostPlatform::UseHostDirectory(place.PathOf("host"));
      Put(OpenStore(), "a", "1");
    });
    EXPECT_EQ(ModeOf(place.PathOf("host")), 02750U) << mask;
    EXPECT_EQ(ModeOf(place.PathOf("host/config-store.cdb")), 0640U) << mask;
    EXPECT_EQ(ModeOf(place.PathOf("host/config-store.lock")), 0600U) << mask;
    EXPECT_EQ(ModeOf(place.PathOf("host/features")), 0640U) << mask;
    EXPECT_EQ(NamesIn(place.PathOf("host")).size(), 3U);
  }
}

TEST_F(Modes, OfWhatASwitchCreatesAreTheSame) {
  umask(0);
  HostPlatform::SetFeature(9, true);
  umask(022);
  EXPECT_EQ(ModeOf(HostPath()), 02750U);
  EXPECT_EQ(ModeOf(FeaturesPath()), 0640U);
  EXPECT_EQ(ModeOf(LockPath()), 0600U);
}

TEST_F(Modes, OfAnExistingDirectoryAreLeftAsTheyAre) {
  ASSERT_EQ(mkdir(HostPath().c_str(), 0700), 0);
  Put(OpenStore(), "a", "1");
  EXPECT_EQ(ModeOf(HostPath()), 0700U);
}

TEST_F(Modes, OwnerAndGroupOfTheSnapshotAreKeptByACommit) {
  Machine::NeedRoot();
  Put(OpenStore(), "a", "1");
  ASSERT_EQ(chown(SnapshotPath().c_str(), kStranger, kReaders), 0);
  for (const mode_t mode : {0600, 0644, 0660, 0440}) {
    ASSERT_EQ(chmod(SnapshotPath().c_str(), mode), 0);
    Put(OpenStore(), "a", "2");
    EXPECT_EQ(ModeOf(SnapshotPath()), mode);
    EXPECT_EQ(StatusOf(SnapshotPath()).st_uid, kStranger);
    EXPECT_EQ(StatusOf(SnapshotPath()).st_gid, kReaders);
  }
}

TEST_F(Modes, NewStateIsNeverReadableForMoreThanTheOldOne) {
  Machine::NeedRoot();
  Put(OpenStore(), "a", "1");
  ASSERT_EQ(chmod(SnapshotPath().c_str(), 0600), 0);
  ASSERT_EQ(chown(SnapshotPath().c_str(), 0, kReaders), 0);
  umask(0);
  Put(OpenStore(), "a", "2");
  umask(022);
  EXPECT_EQ(ModeOf(SnapshotPath()), 0600U);
}

class Attributes : public HostTest {
 protected:
  Attributes() : HostTest(PlaceWithUserAttributes()) {}

  std::string Attribute(const char* name) const {
    char value[256] = {};
    const ssize_t size = getxattr(SnapshotPath().c_str(), name, value, sizeof value);
    return size < 0 ? "(absent)" : std::string(value, static_cast<std::size_t>(size));
  }
};

TEST_F(Attributes, OfTheSnapshotAreKeptByACommit) {
  Put(OpenStore(), "a", "1");
  const std::string binary("\0\xff", 2);
  ASSERT_EQ(setxattr(SnapshotPath().c_str(), "user.origin", "backup", 6, 0), 0);
  ASSERT_EQ(setxattr(SnapshotPath().c_str(), "user.binary", binary.data(), 2, 0), 0);
  ASSERT_EQ(setxattr(SnapshotPath().c_str(), "user.empty", "", 0, 0), 0);
  Put(OpenStore(), "a", "2");
  EXPECT_EQ(Attribute("user.origin"), "backup");
  EXPECT_EQ(Attribute("user.binary"), binary);
  EXPECT_EQ(Attribute("user.empty"), "");
  EXPECT_EQ(Attribute("user.other"), "(absent)");
}

// One entry of an access control list in the form of the extended attribute.
std::string Entry(std::uint16_t tag, std::uint16_t permissions, std::uint32_t id) {
  std::string entry;
  for (const std::uint32_t part : {std::uint32_t{tag}, std::uint32_t{permissions}}) {
    entry.push_back(static_cast<char>(part));
    entry.push_back(static_cast<char>(part >> 8));
  }
  for (int shift = 0; shift < 32; shift += 8)
    entry.push_back(static_cast<char>(id >> shift));
  return entry;
}

TEST_F(Attributes, AccessListOfTheSnapshotIsKeptByACommit) {
  Machine::NeedRoot();
  constexpr std::uint32_t kNobody = 0xffffffff;
  Put(OpenStore(), "a", "1");
  const std::string list = std::string("\2\0\0\0", 4) + Entry(1, 6, kNobody) +
                           Entry(2, 4, kStranger) + Entry(4, 4, kNobody) + Entry(16, 4, kNobody) +
                           Entry(32, 0, kNobody);
  ASSERT_EQ(
      setxattr(SnapshotPath().c_str(), "system.posix_acl_access", list.data(), list.size(), 0), 0);
  ASSERT_EQ(chmod(HostPath().c_str(), 0755), 0);
  Put(OpenStore(), "a", "2");
  EXPECT_EQ(Attribute("system.posix_acl_access"), list);
  RunInChild([] {
    BecomeUser(kStranger, {kOutsiders});
    EXPECT_EQ(Get(OpenStore(), "a"), "2");
  });
}

// The host directory

using HostDirectory = HostTest;

TEST_F(HostDirectory, ThatEverybodyMayWriteToIsRefused) {
  ASSERT_EQ(mkdir(HostPath().c_str(), 0700), 0);
  for (const mode_t mode : {0777, 01777, 0702}) {
    ASSERT_EQ(chmod(HostPath().c_str(), mode), 0);
    std::string message;
    EXPECT_EQ(WriteCode(&message), kInsecure);
    EXPECT_NE(message.find(HostPath()), std::string::npos) << message;
    EXPECT_NE(message.find("chmod o-w"), std::string::npos) << message;
    EXPECT_THROW(HostPlatform::SetFeature(9, true), std::system_error);
    EXPECT_EQ(NamesIn(HostPath()), Texts{});
  }
  ASSERT_EQ(chmod(HostPath().c_str(), 0755), 0);
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(HostDirectory, IsCreatedByTheFirstWriterWithoutItsParents) {
  HostPlatform::UseHostDirectory(temporary_.PathOf("absent/host"));
  std::string message;
  EXPECT_EQ(WriteCode(&message), kIoError);
  EXPECT_NE(message.find(temporary_.PathOf("absent/host")), std::string::npos) << message;
  EXPECT_FALSE(Exists(temporary_.PathOf("absent")));
  ASSERT_EQ(mkdir(temporary_.PathOf("absent").c_str(), 0755), 0);
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(HostDirectory, IsNotCreatedByReaders) {
  EXPECT_EQ(List(OpenStore()), Texts{});
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
  HostPlatform::GetFeature(9);
  HostPlatform::GetConfigStoreState();
  EXPECT_FALSE(Exists(HostPath()));
}

TEST_F(HostDirectory, ThatIsEmptyStaysEmptyForReaders) {
  ASSERT_EQ(mkdir(HostPath().c_str(), 0755), 0);
  EXPECT_EQ(List(OpenStore()), Texts{});
  EXPECT_EQ(Get(OpenStore(), "a"), std::nullopt);
  HostPlatform::GetFeature(9);
  HostPlatform::GetConfigStoreState();
  EXPECT_EQ(NamesIn(HostPath()), Texts{});
}

TEST_F(HostDirectory, IsLeftAsItIsByReadersOfAStore) {
  Put(OpenStore(), "a", "1");
  const auto before = StatusOf(HostPath());
  const auto snapshot = StatusOf(SnapshotPath());
  const auto lock = StatusOf(LockPath());
  StartAfresh();
  EXPECT_EQ(List(OpenStore()), Texts{"1"});
  EXPECT_EQ(StatusOf(HostPath()).st_mtim.tv_nsec, before.st_mtim.tv_nsec);
  EXPECT_EQ(StatusOf(SnapshotPath()).st_ctim.tv_nsec, snapshot.st_ctim.tv_nsec);
  EXPECT_EQ(StatusOf(LockPath()).st_ctim.tv_nsec, lock.st_ctim.tv_nsec);
}

TEST_F(HostDirectory, ThatIsAFileIsAnError) {
  WriteFile(HostPath(), "precious");
  EXPECT_EQ(OpenCode(), kIoError);
  EXPECT_EQ(WriteCode(), kIoError);
  EXPECT_EQ(ReadFile(HostPath()), "precious");
}

// Temporaries

class Temporaries : public HostTest {
 protected:
  void Leave(const std::string& name) const { WriteFile(PathOf(name), "left over"); }
};

TEST_F(Temporaries, OfKilledWritersAreSweptByTheNextCommit) {
  Put(OpenStore(), "a", "1");
  Leave(".config-store.cdb.new-0123456789abcdef");
  Leave(".config-store.cdb.new-fedcba9876543210");
  ASSERT_EQ(symlink("/absent", PathOf(".config-store.cdb.new-0000000000000000").c_str()), 0);
  Put(OpenStore(), "a", "2");
  EXPECT_EQ(NamesIn(HostPath()), (Texts{"config-store.cdb", "config-store.lock", "features"}));
}

TEST_F(Temporaries, WithOtherNamesAreLeftAlone) {
  Put(OpenStore(), "a", "1");
  const Texts others = {".config-store.cdb.new-",
                        ".config-store.cdb.new-0123456789ABCDEF",
                        ".config-store.cdb.new-0123456789abcde",
                        ".config-store.cdb.new-0123456789abcdef0",
                        ".config-store.cdb.new-0123456789abcdefg",
                        ".config-store.cdb.new-0123456789abcdeg",
                        ".config-store.new-0123456789abcdef",
                        ".features.new-0123456789abcdef",
                        ".hidden",
                        "config-store.cdb.backup",
                        "config-store.cdb.new-0123456789abcdef",
                        "config-store.cdb~",
                        "host-config.json"};
  for (const std::string& name : others)
    Leave(name);
  Put(OpenStore(), "a", "2");
  for (const std::string& name : others) {
    ASSERT_TRUE(Exists(PathOf(name))) << name;
    EXPECT_EQ(ReadFile(PathOf(name)), "left over");
  }
  EXPECT_EQ(NamesIn(HostPath()).size(), others.size() + 3);
}

TEST_F(Temporaries, OfReadersAndRollBacksDoNotExist) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "2");
  EXPECT_EQ(NamesIn(HostPath()).size(), 3U) << "nothing is written before the commit";
  store->RollbackTransaction();
  EXPECT_EQ(NamesIn(HostPath()).size(), 3U);
}

TEST_F(Temporaries, OnesThatCannotBeSweptAreNoObstacle) {
  Put(OpenStore(), "a", "1");
  ASSERT_EQ(mkdir(PathOf(".config-store.cdb.new-0123456789abcdef").c_str(), 0700), 0);
  Put(OpenStore(), "a", "2");
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

}  // namespace
}  // namespace PlatformTest
