// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Links that somebody put where a writer's files belong: no writer follows them to another's file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "backend/catalogue.h"
#include "support/needs.h"

namespace ConfigFileTest {
namespace {

constexpr char kPrecious[] = "{\"precious\": true}\n";

class PlantedLinks : public HostTest, public testing::WithParamInterface<Kind> {
 protected:
  PlantedLinks() {
    Machine::NeedRoot();
    Switch(GetParam());
    QuorLib::AddPolicyInfo(SomePolicies());
    Check(mkdir(temporary_.PathOf("elsewhere").c_str(), 0755) == 0, "elsewhere");
    WriteFile(Target(), kPrecious);
    Check(chmod(Target().c_str(), 0604) == 0, Target());
    Check(chown(Target().c_str(), kOwner, kOutsiders) == 0, Target());
  }

  bool IsStore() const { return GetParam() == Kind::kStore; }
  std::string DataFile() const {
    return PathOf(IsStore() ? "config-store.cdb" : "host-config.json");
  }
  std::string LockFile() const {
    return PathOf(IsStore() ? "config-store.lock" : "host-config.lock");
  }
  std::string Temporary(int number) const {
    return PathOf((IsStore() ? ".config-store.cdb" : ".host-config.json") +
                  (".new-000000000000000" + std::to_string(number)));
  }
  std::string Target() const { return temporary_.PathOf("elsewhere/target"); }

  // In the place of whatever is there.
  void PlantSymbolicLink(const std::string& path, const std::string& target) const {
    unlink(path.c_str());
    Check(symlink(target.c_str(), path.c_str()) == 0, path);
  }
  void PlantHardLink(const std::string& path) const {
    unlink(path.c_str());
    Check(link(Target().c_str(), path.c_str()) == 0, path);
  }

  static bool Writes() {
    try {
      QuorLib::AddPolicyInfo({Policy("new")});
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }

  void ExpectTargetUntouched() const {
    EXPECT_EQ(ReadFile(Target()), kPrecious);
    EXPECT_EQ(ModeOf(Target()), 0604U);
    EXPECT_EQ(StatusOf(Target()).st_uid, kOwner);
    EXPECT_EQ(StatusOf(Target()).st_gid, kOutsiders);
    EXPECT_EQ(NamesIn(temporary_.PathOf("elsewhere")), Texts{"target"});
  }
};

INSTANTIATE_TEST_SUITE_P(Backends, PlantedLinks, testing::Values(Kind::kStore, Kind::kFile),
                         [](const auto& test) {
                           return test.param == Kind::kStore ? "Store" : "File";
                         });

TEST_P(PlantedLinks, InPlaceOfTheLockFileAreRefused) {
  PlantSymbolicLink(LockFile(), Target());
  EXPECT_FALSE(Writes());
  PlantSymbolicLink(LockFile(), temporary_.PathOf("elsewhere/absent"));
  EXPECT_FALSE(Writes());
  PlantHardLink(LockFile());
  EXPECT_FALSE(Writes());
  ExpectTargetUntouched();
  ASSERT_EQ(unlink(LockFile().c_str()), 0);
  EXPECT_TRUE(Writes());
}

TEST_P(PlantedLinks, InPlaceOfATemporaryAreRemovedAndNotFollowed) {
  PlantSymbolicLink(Temporary(1), Target());
  PlantSymbolicLink(Temporary(2), temporary_.PathOf("elsewhere/absent"));
  PlantHardLink(Temporary(3));
  EXPECT_TRUE(Writes());
  for (const int number : {1, 2, 3})
    EXPECT_FALSE(Exists(Temporary(number))) << number;
  ExpectTargetUntouched();
}

TEST_P(PlantedLinks, InPlaceOfTheSwitchesAreNotWrittenTo) {
  const std::string features = PathOf("features");
  WriteFile(Target(), std::string(256, '\0'));
  PlantSymbolicLink(features, Target());
  EXPECT_ANY_THROW(HostPlatform::SetFeature(9, true));
  PlantSymbolicLink(features, temporary_.PathOf("elsewhere/absent"));
  EXPECT_ANY_THROW(HostPlatform::SetFeature(9, true));
  EXPECT_FALSE(Exists(temporary_.PathOf("elsewhere/absent")));
  PlantHardLink(features);
  EXPECT_ANY_THROW(HostPlatform::SetFeature(9, true));
  EXPECT_EQ(ReadFile(Target()), std::string(256, '\0'));
  WriteFile(Target(), kPrecious);
  ExpectTargetUntouched();
}

// A second name of somebody else's file: at most the name is replaced, never the file.
TEST_P(PlantedLinks, OfASecondNameInPlaceOfTheDataLeaveThatFileAlone) {
  PlantHardLink(DataFile());
  EXPECT_EQ(Writes(), !IsStore()) << "to the store it is damaged, to the file a document";
  ExpectTargetUntouched();
}

TEST_P(PlantedLinks, OfASymbolicKindInPlaceOfTheDataAreNoWayToMakeAFileElsewhere) {
  PlantSymbolicLink(DataFile(), temporary_.PathOf("elsewhere/absent"));
  EXPECT_FALSE(Writes());
  EXPECT_EQ(NamesIn(temporary_.PathOf("elsewhere")), Texts{"target"});
  if (IsStore()) {
    PlantSymbolicLink(DataFile(), Target());
    EXPECT_FALSE(Writes());
  }
  ExpectTargetUntouched();
}

// Administrators may turn the file into a link; a member of a group that may write to the directory
// must not choose what root replaces by it.
TEST_P(PlantedLinks, OfAStrangerAreNotFollowedInADirectoryThatAGroupMayWriteTo) {
  Check(chown(HostPath().c_str(), 0, kReaders) == 0, HostPath());
  Check(chmod(HostPath().c_str(), 02770) == 0, HostPath());
  RunInChild([this] {
    BecomeUser(kStranger, {kStranger, kReaders});
    PlantSymbolicLink(DataFile(), Target());
  });
  EXPECT_FALSE(Writes());
  ExpectTargetUntouched();
}

}  // namespace
}  // namespace ConfigFileTest
