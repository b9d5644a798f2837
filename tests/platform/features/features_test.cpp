// The feature switches: one page of bytes that every process of the host sees change.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/feature_list.h"
#include "support/child_process.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

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

  void ExpectDefaultsAndReport(const std::string& reason) {
    HostPlatform::UseHostDirectory(HostPath());
    OpenStore();
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

TEST_F(UnusableFeatures, ShortFileIsIgnoredAndReported) {
  for (const std::size_t size : {0, 1, 63, 255}) {
    WriteFile(FeaturesPath(), std::string(size, '\0'));
    ExpectDefaultsAndReport("not a file of 256 bytes");
    EXPECT_EQ(ReadFile(FeaturesPath()).size(), size);
  }
}

TEST_F(UnusableFeatures, DirectoryIsIgnoredAndReported) {
  ASSERT_EQ(mkdir(FeaturesPath().c_str(), 0755), 0);
  ExpectDefaultsAndReport("not a file");
}

TEST_F(UnusableFeatures, PipeIsIgnoredAndReportedWithoutWaitingForItsOtherEnd) {
  ASSERT_EQ(mkfifo(FeaturesPath().c_str(), 0644), 0);
  ExpectDefaultsAndReport("not a file");
}

TEST_F(UnusableFeatures, SymbolicLinkIsIgnoredAndReportedAndItsTargetLeftAlone) {
  const std::string target = temporary_.PathOf("target");
  WriteFile(target, Switches('\0', kSome, '\1'));
  ASSERT_EQ(symlink(target.c_str(), FeaturesPath().c_str()), 0);
  ExpectDefaultsAndReport("symbolic link");
  EXPECT_TRUE(ReadFile(target) == Switches('\0', kSome, '\1'));
}

TEST_F(UnusableFeatures, DoNotKeepTheStoreFromWorking) {
  WriteFile(FeaturesPath(), "short");
  Put(OpenStore(), "a", "1");
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
  EXPECT_EQ(ReadFile(FeaturesPath()), "short");
}

TEST_F(UnusableFeatures, FileWithASecondNameIsNotWrittenTo) {
  const std::string target = PathOf("target");
  WriteFile(target, std::string(300, '\0'));
  ASSERT_EQ(link(target.c_str(), FeaturesPath().c_str()), 0);
  EXPECT_EQ(ErrorOf(kSome), std::errc::permission_denied);
  EXPECT_TRUE(ReadFile(target) == std::string(300, '\0'));
}

TEST_F(UnusableFeatures, FileThatMayNotBeReadIsIgnoredAndReported) {
  WriteFile(FeaturesPath(), Switches('\0', kSome, '\1'));
  ASSERT_EQ(chmod(FeaturesPath().c_str(), 0600), 0);
  RunInChild([this] {
    BecomeUser(kStranger, {kOutsiders});
    ExpectDefaultsAndReport("ermission denied");
  });
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
