// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The feature switches: one page of bytes that every process of the host sees change.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "platform/feature_list.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using TavConfigStore::kInsecure;
using TavConfigStore::kIoError;
using TavConfigStore::kPermissionDenied;

constexpr int kSome = 9;

using Features = HostTest;

// The byte as it is at this moment, in memory that other processes change.
bool IsOn(int index) {
  const volatile unsigned char* const byte = FeatureList[index];
  return *byte != 0;
}

std::errc ErrorOf(int index) {
  try {
    HostPlatform::SetFeature(index, true);
    return std::errc();
  } catch (const std::system_error& error) {
    return static_cast<std::errc>(error.code().value());
  }
}

// A file of 256 switches, all of them alike but one.
std::string Switches(char others, int index, char value) {
  std::string bytes(kFeatureCount, others);
  bytes[static_cast<std::size_t>(index)] = value;
  return bytes;
}

TEST_F(Features, AreTheDefaultsWithoutTheFile) {
  for (int i = 0; i < kFeatureCount; ++i) {
    EXPECT_EQ(IsOn(i), i == kFeatureQuorUsesConfigStore) << i;
    const auto state = HostPlatform::GetFeature(i);
    EXPECT_EQ(state.on, i == kFeatureQuorUsesConfigStore) << i;
    EXPECT_FALSE(state.mapped);
    EXPECT_EQ(state.problem, "");
    EXPECT_EQ(state.path, FeaturesPath());
  }
  EXPECT_EQ(kFeatureQuorUsesConfigStore, 62);
}

TEST_F(Features, Are256DistinctBytesInOrder) {
  static_assert(kFeatureCount == 256);
  for (int i = 1; i < kFeatureCount; ++i) {
    EXPECT_EQ(FeatureList[i] - FeatureList[0], i);
  }
}

TEST_F(Features, PointersStayTheSameWhateverIsMapped) {
  const unsigned char* const first = FeatureList[0];
  HostPlatform::SetFeature(kSome, true);
  HostPlatform::UseHostDirectory(temporary_.PathOf("second"));
  EXPECT_EQ(FeatureList[0], first);
  EXPECT_FALSE(IsOn(kSome));
}

TEST_F(Features, EachIsSetAndClearedWithoutItsNeighbours) {
  for (const int index : {0, 1, 61, 62, 63, 254, 255}) {
    HostPlatform::SetFeature(index, true);
    EXPECT_TRUE(IsOn(index));
    HostPlatform::SetFeature(index, false);
    for (int i = 0; i < kFeatureCount; ++i) {
      EXPECT_EQ(IsOn(i), i == kFeatureQuorUsesConfigStore && i != index) << i;
    }
    HostPlatform::SetFeature(index, index == kFeatureQuorUsesConfigStore);
  }
}

TEST_F(Features, FirstOneThatIsSetCreatesTheFileWithTheDefaults) {
  HostPlatform::SetFeature(kSome, true);
  std::string expected = Switches('\0', kSome, '\1');
  expected[kFeatureQuorUsesConfigStore] = '\1';
  EXPECT_TRUE(ReadFile(FeaturesPath()) == expected);
  EXPECT_TRUE(HostPlatform::GetFeature(kSome).mapped);
  EXPECT_TRUE(HostPlatform::GetFeature(kSome).on);
}

TEST_F(Features, FirstCommitCreatesTheFileWithTheDefaults) {
  Put(OpenStore(), "a", "1");
  EXPECT_TRUE(ReadFile(FeaturesPath()) == Switches('\0', kFeatureQuorUsesConfigStore, '\1'));
}

TEST_F(Features, LaterCommitsLeaveTheFileAsItIs) {
  HostPlatform::SetFeature(kSome, true);
  HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, false);
  const std::string bytes = ReadFile(FeaturesPath());
  const auto inode = StatusOf(FeaturesPath()).st_ino;
  Put(OpenStore(), "a", "1");
  EXPECT_TRUE(ReadFile(FeaturesPath()) == bytes);
  EXPECT_EQ(StatusOf(FeaturesPath()).st_ino, inode);
}

TEST_F(Features, FlipByAnotherProcessIsSeenAtTheNextLoadWithoutAnyCall) {
  HostPlatform::SetFeature(kSome, false);
  EXPECT_FALSE(IsOn(kSome));
  RunInChild([] { HostPlatform::SetFeature(kSome, true); });
  EXPECT_TRUE(IsOn(kSome));
  RunInChild([] { HostPlatform::SetFeature(kSome, false); });
  EXPECT_FALSE(IsOn(kSome));
}

TEST_F(Features, ProcessThatWasStartedBeforeTheFileFollowsItAfterItsNextStoreCall) {
  RunInChild([] { HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, false); });
  EXPECT_TRUE(IsOn(kFeatureQuorUsesConfigStore)) << "its own defaults still";
  OpenStore();
  EXPECT_FALSE(IsOn(kFeatureQuorUsesConfigStore));
  RunInChild([] { HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, true); });
  EXPECT_TRUE(IsOn(kFeatureQuorUsesConfigStore));
}

TEST_F(Features, ProcessThatWasStartedBeforeTheFileIsToldOfItWhenItAsks) {
  RunInChild([] { HostPlatform::SetFeature(kSome, true); });
  const auto state = HostPlatform::GetFeature(kSome);
  EXPECT_TRUE(state.on);
  EXPECT_TRUE(state.mapped);
}

TEST_F(Features, ChildOfAForkSeesFlipsToo) {
  HostPlatform::SetFeature(kSome, false);
  Gate looked;
  Gate flipped;
  ChildProcess child([&] {
    EXPECT_FALSE(IsOn(kSome));
    looked.Open();
    EXPECT_TRUE(flipped.Wait());
    EXPECT_TRUE(IsOn(kSome));
  });
  EXPECT_TRUE(looked.Wait());
  HostPlatform::SetFeature(kSome, true);
  flipped.Open();
  EXPECT_TRUE(child.Succeeds());
}

TEST_F(Features, AnyValueButZeroIsOn) {
  Put(OpenStore(), "a", "1");
  WriteFile(FeaturesPath(), Switches('\0', kSome, '\xff'));
  HostPlatform::UseHostDirectory(HostPath());
  EXPECT_TRUE(HostPlatform::GetFeature(kSome).on);
  EXPECT_FALSE(HostPlatform::GetFeature(kFeatureQuorUsesConfigStore).on);
}

TEST_F(Features, LongerFileOfANewerVersionIsUsed) {
  ASSERT_EQ(mkdir(HostPath().c_str(), 0755), 0);
  WriteFile(FeaturesPath(), Switches('\0', kSome, '\1') + std::string(1000, '\1'));
  EXPECT_TRUE(HostPlatform::GetFeature(kSome).on);
  HostPlatform::SetFeature(kSome, false);
  EXPECT_EQ(ReadFile(FeaturesPath()).size(), 1256U);
}

// What stands in the file's place when it cannot be used.
class UnusableFeatures : public HostTest {
 protected:
  UnusableFeatures() { EXPECT_EQ(mkdir(HostPath().c_str(), 0755), 0); }

  void ExpectRaisedByEveryCall(const std::string& reason, CSErrorCodes code = kIoError) {
    HostPlatform::UseHostDirectory(HostPath());
    for (int i = 0; i < 3; ++i) {
      std::string message;
      EXPECT_EQ(OpenCode(&message), code);
      EXPECT_NE(message.find(FeaturesPath()), std::string::npos) << message;
      EXPECT_NE(message.find(reason), std::string::npos) << message;
    }
    EXPECT_FALSE(Exists(SnapshotPath()));
    const auto state = HostPlatform::GetFeature(kFeatureQuorUsesConfigStore);
    EXPECT_TRUE(state.on);
    EXPECT_FALSE(state.mapped);
    EXPECT_NE(state.problem.find(FeaturesPath()), std::string::npos) << state.problem;
    EXPECT_NE(state.problem.find(reason), std::string::npos) << state.problem;
    EXPECT_FALSE(HostPlatform::GetFeature(kSome).on);
    EXPECT_NE(ErrorOf(kSome), std::errc());
    EXPECT_FALSE(IsOn(kSome));
  }
};

TEST_F(UnusableFeatures, ShortFileIsRaised) {
  for (const std::size_t size : {0, 1, 63, 255}) {
    WriteFile(FeaturesPath(), std::string(size, '\0'));
    ExpectRaisedByEveryCall("not a file of 256 bytes");
    EXPECT_EQ(ReadFile(FeaturesPath()).size(), size);
  }
}

TEST_F(UnusableFeatures, DirectoryIsRaised) {
  ASSERT_EQ(mkdir(FeaturesPath().c_str(), 0755), 0);
  ExpectRaisedByEveryCall("not a file");
}

TEST_F(UnusableFeatures, PipeIsRaisedWithoutWaitingForItsOtherEnd) {
  ASSERT_EQ(mkfifo(FeaturesPath().c_str(), 0644), 0);
  ExpectRaisedByEveryCall("not a file");
}

TEST_F(UnusableFeatures, SymbolicLinkIsRaisedAndItsTargetLeftAlone) {
  const std::string target = temporary_.PathOf("target");
  WriteFile(target, Switches('\0', kSome, '\1'));
  ASSERT_EQ(symlink(target.c_str(), FeaturesPath().c_str()), 0);
  ExpectRaisedByEveryCall("symbolic link", kInsecure);
  EXPECT_TRUE(ReadFile(target) == Switches('\0', kSome, '\1'));
}

TEST_F(UnusableFeatures, KeepTheStoreFromBeingWritten) {
  WriteFile(FeaturesPath(), "short");
  EXPECT_EQ(WriteCode(), kIoError);
  EXPECT_EQ(NamesIn(HostPath()), Texts{"features"});
  EXPECT_EQ(ReadFile(FeaturesPath()), "short");
}

TEST_F(UnusableFeatures, FileWithASecondNameIsNotWrittenTo) {
  const std::string target = PathOf("target");
  WriteFile(target, std::string(300, '\0'));
  ASSERT_EQ(link(target.c_str(), FeaturesPath().c_str()), 0);
  EXPECT_EQ(ErrorOf(kSome), std::errc::permission_denied);
  EXPECT_TRUE(ReadFile(target) == std::string(300, '\0'));
}

TEST_F(UnusableFeatures, FileThatMayNotBeReadIsRaised) {
  Machine::NeedRoot();
  WriteFile(FeaturesPath(), Switches('\0', kSome, '\1'));
  ASSERT_EQ(chmod(FeaturesPath().c_str(), 0600), 0);
  RunInChild([this] {
    BecomeUser(kStranger, {kOutsiders});
    ExpectRaisedByEveryCall("ermission denied", kPermissionDenied);
  });
}

// A file in the place of the one that a running process follows.

class ReplacedFeatures : public HostTest {
 protected:
  ReplacedFeatures() {
    HostPlatform::SetFeature(kSome, false);
    Put(OpenStore(), "a", "1");
  }

  void PutInPlace(const std::string& bytes) const {
    WriteFile(PathOf("next"), bytes);
    ASSERT_EQ(rename(PathOf("next").c_str(), FeaturesPath().c_str()), 0);
  }

  std::string On() const {
    std::string bytes = Switches('\0', kSome, '\1');
    bytes[kFeatureQuorUsesConfigStore] = '\1';
    return bytes;
  }

  static void WaitUntilItIsLookedAtAgain() {
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
  }
};

TEST_F(ReplacedFeatures, ByARenameAreFollowedWithinATenthOfASecondOfCalls) {
  PutInPlace(On());
  WaitUntilItIsLookedAtAgain();
  OpenStore();
  EXPECT_TRUE(IsOn(kSome));
  RunInChild([] { HostPlatform::SetFeature(kSome, false); });
  EXPECT_FALSE(IsOn(kSome)) << "it is the new file that is mapped";
}

TEST_F(ReplacedFeatures, WithTheStoreAreFollowedAtOnce) {
  const std::string host = HostPath();
  ASSERT_EQ(rename(host.c_str(), temporary_.PathOf("bad").c_str()), 0);
  std::filesystem::copy(temporary_.PathOf("bad"), host);
  WriteFile(FeaturesPath(), On());
  OpenStore();
  EXPECT_TRUE(IsOn(kSome));
}

TEST_F(ReplacedFeatures, ByOnesThatCannotBeUsedAreRaisedAndLeaveWhatWasThere) {
  HostPlatform::SetFeature(kSome, true);
  PutInPlace("short");
  WaitUntilItIsLookedAtAgain();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(OpenCode(), kIoError);
    EXPECT_TRUE(IsOn(kSome));
  }
  PutInPlace(On());
  EXPECT_EQ(OpenCode(), kNothing);
}

TEST_F(ReplacedFeatures, ThatAreGoneAreRaisedWhereTheyChoseOtherwiseThanTheDefaults) {
  HostPlatform::SetFeature(kSome, true);
  ASSERT_EQ(unlink(FeaturesPath().c_str()), 0);
  WaitUntilItIsLookedAtAgain();
  std::string message;
  EXPECT_EQ(OpenCode(&message), kIoError);
  EXPECT_NE(message.find("put the file back"), std::string::npos) << message;
  EXPECT_TRUE(IsOn(kSome));
  HostPlatform::SetFeature(kSome, false);
  EXPECT_EQ(OpenCode(), kNothing);
  EXPECT_FALSE(IsOn(kSome));
}

TEST_F(ReplacedFeatures, ThatAreGoneAreNoFailureWhereTheyWereTheDefaults) {
  ASSERT_EQ(unlink(FeaturesPath().c_str()), 0);
  WaitUntilItIsLookedAtAgain();
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
  RunInChild([] { HostPlatform::SetFeature(kSome, true); });
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
  EXPECT_TRUE(IsOn(kSome)) << "a new file is found";
}

TEST_F(Features, OverrideOfOneLeavesTheOthers) {
  HostPlatform::OverrideFeature(kSome, true);
  HostPlatform::OverrideFeature(kSome + 1, true);
  EXPECT_TRUE(IsOn(kSome));
  EXPECT_TRUE(IsOn(kSome + 1));
  EXPECT_TRUE(IsOn(kFeatureQuorUsesConfigStore));
  HostPlatform::OverrideFeature(kFeatureQuorUsesConfigStore, false);
  EXPECT_FALSE(IsOn(kFeatureQuorUsesConfigStore));
  EXPECT_TRUE(IsOn(kSome));
}

// Errors of the administration.

TEST_F(Features, IndexOutOfRangeIsRaised) {
  for (const int index : {-1, 256, 1000, -2'147'483'647 - 1, 2'147'483'647}) {
    EXPECT_THROW(HostPlatform::GetFeature(index), std::out_of_range) << index;
    EXPECT_THROW(HostPlatform::SetFeature(index, true), std::out_of_range) << index;
  }
  EXPECT_FALSE(Exists(HostPath()));
}

TEST_F(Features, SettingOneWithoutPermissionIsRaisedAndNamesThePath) {
  Machine::NeedRoot();
  HostPlatform::SetFeature(kSome, false);
  RunInChild([this] {
    BecomeUser(kStranger, {kOutsiders});
    try {
      HostPlatform::SetFeature(kSome, true);
      ADD_FAILURE() << "nothing was raised";
    } catch (const std::system_error& error) {
      EXPECT_EQ(error.code(), std::errc::permission_denied);
      EXPECT_NE(std::string(error.what()).find(HostPath()), std::string::npos) << error.what();
    }
  });
  EXPECT_FALSE(IsOn(kSome));
}

TEST_F(Features, SettingOneWhileAWriterHoldsTheLockIsBusyAtTheDeadline) {
  const Store store = OpenStore();
  store->BeginTransaction();
  HostPlatform::UseLockTimeout(20);
  EXPECT_EQ(ErrorOf(kSome), std::errc::device_or_resource_busy);
  store->RollbackTransaction();
  EXPECT_EQ(ErrorOf(kSome), std::errc());
}

TEST_F(Features, UseHostDirectoryMapsThatDirectorysSwitches) {
  HostPlatform::SetFeature(kSome, true);
  HostPlatform::UseHostDirectory(temporary_.PathOf("second"));
  EXPECT_FALSE(IsOn(kSome));
  EXPECT_TRUE(IsOn(kFeatureQuorUsesConfigStore));
  EXPECT_FALSE(HostPlatform::GetFeature(kSome).mapped);
  HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, false);
  HostPlatform::UseHostDirectory(HostPath());
  EXPECT_TRUE(IsOn(kSome));
  EXPECT_TRUE(IsOn(kFeatureQuorUsesConfigStore));
}

}  // namespace
}  // namespace PlatformTest
