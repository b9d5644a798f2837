// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which host directory and deadline a process takes from its environment.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <string>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"
#include "support/program.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

constexpr char kDefaultDirectory[] = "/var/lib/quor";
constexpr char kDefaultDeadline[] = "30000";

// The host directory and the deadline of a process that is started with this environment.
Texts Environment(const Texts& environment, const std::string& program = PLATFORM_PROBE) {
  return Lines(OutputOf({program, "environment"}, environment));
}

TEST(Environment, WithoutVariablesGivesTheDefaults) {
  EXPECT_EQ(Environment({}), (Texts{kDefaultDirectory, kDefaultDeadline}));
}

TEST(Environment, GivesTheDirectoryAndTheDeadline) {
  EXPECT_EQ(Environment({"QUOR_HOST_DIR=/some/where", "QUOR_LOCK_TIMEOUT_MS=250"}),
            (Texts{"/some/where", "250"}));
}

TEST(Environment, EmptyDirectoryIsTheDefault) {
  EXPECT_EQ(Environment({"QUOR_HOST_DIR="})[0], kDefaultDirectory);
}

TEST(Environment, RelativeDirectoryIsWithinTheOneWhereTheProgramStarted) {
  const std::string here = std::filesystem::current_path();
  EXPECT_EQ(Environment({"QUOR_HOST_DIR=some/where"})[0], here + "/some/where");
  EXPECT_EQ(Environment({"QUOR_HOST_DIR=."})[0], here + "/.");
}

TEST(Environment, DeadlineThatIsNoWholeNumberIsIgnored) {
  for (const char* text : {"", "abc", "12x", "x12", "-1", "+5", " 5", "5 ", "1.5", "0x10", "1e3",
                           "4294967296", "99999999999999999999"}) {
    EXPECT_EQ(Environment({std::string("QUOR_LOCK_TIMEOUT_MS=") + text})[1], kDefaultDeadline)
        << text;
  }
}

TEST(Environment, DeadlineMayBeAnyNumberOf32Bits) {
  for (const char* text : {"0", "1", "007", "4294967295"}) {
    EXPECT_EQ(Environment({std::string("QUOR_LOCK_TIMEOUT_MS=") + text})[1],
              std::to_string(std::stoul(text)));
  }
}

// A program whose rights are those of the file's owner, started by somebody else who chose its
// environment.
TEST(Environment, IsIgnoredInASetUidProgram) {
  Machine::NeedRoot();
  const TemporaryDirectory place(PlaceWithSetUid());
  const std::string program = place.PathOf("probe");
  std::filesystem::copy_file(PLATFORM_PROBE, program);
  const Texts hostile = {"QUOR_HOST_DIR=/planted", "QUOR_LOCK_TIMEOUT_MS=1"};
  ASSERT_EQ(chown(program.c_str(), kOtherStranger, kOutsiders), 0);
  ASSERT_EQ(chmod(program.c_str(), 0755), 0);
  const auto startAsStranger = [&] {
    BecomeUser(kStranger, {kStranger});
    return Environment(hostile, program);
  };
  RunInChild([&] { EXPECT_EQ(startAsStranger(), (Texts{"/planted", "1"})) << "not yet set-uid"; });
  ASSERT_EQ(chmod(program.c_str(), 04755), 0);
  RunInChild([&] { EXPECT_EQ(startAsStranger(), (Texts{kDefaultDirectory, kDefaultDeadline})); });
  ASSERT_EQ(chmod(program.c_str(), 02755), 0);
  RunInChild([&] { EXPECT_EQ(startAsStranger(), (Texts{kDefaultDirectory, kDefaultDeadline})); });
}

// UseHostDirectory()

using ChosenDirectory = HostTest;

TEST_F(ChosenDirectory, ThatIsTooLongIsRefusedInsteadOfCutShort) {
  for (const std::size_t length : {PATH_MAX - 1, PATH_MAX, PATH_MAX + 1, PATH_MAX + 63,
                                   PATH_MAX + 64, PATH_MAX + 65, 3 * PATH_MAX}) {
    std::string path = temporary_.path();
    while (path.size() + 2 < length)
      path += "/.";
    path.resize(length, 'x');
    HostPlatform::UseHostDirectory(path);
    EXPECT_EQ(WriteCode(), kIoError) << length;
    EXPECT_EQ(OpenCode(), kIoError) << length;
    EXPECT_NE(HostPlatform::GetFeature(9).problem, "") << length;
  }
  HostPlatform::UseHostDirectory(HostPath());
  EXPECT_EQ(NamesIn(temporary_.path()), Texts{});
}

TEST_F(ChosenDirectory, WithALongPathThatStillFitsIsUsed) {
  std::string path = temporary_.path();
  while (path.size() + 102 < PATH_MAX - 40) {
    path += '/' + std::string(100, 'd');
    ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
  }
  HostPlatform::UseHostDirectory(path);
  Put(OpenStore(), "a", "1");
  StartAfresh();
  HostPlatform::UseHostDirectory(path);
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

TEST_F(ChosenDirectory, ThatIsRelativeStaysTheSameAfterAChangeOfDirectory) {
  RunInChild([this] {
    ASSERT_EQ(chdir(temporary_.path().c_str()), 0);
    HostPlatform::UseHostDirectory("relative");
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(HostPlatform::HostDirectory(), temporary_.PathOf("relative"));
    Put(OpenStore(), "a", "1");
  });
  EXPECT_TRUE(Exists(temporary_.PathOf("relative/config-store.cdb")));
}

TEST_F(ChosenDirectory, DeadlineIsTheOneLastGiven) {
  HostPlatform::UseLockTimeout(5);
  EXPECT_EQ(HostPlatform::LockTimeout(), 5U);
  HostPlatform::UseLockTimeout(0xffffffff);
  EXPECT_EQ(HostPlatform::LockTimeout(), 0xffffffffU);
}

// GetConfigStoreState()

using StoreState = HostTest;

TEST_F(StoreState, OfAHostWithoutStoreSaysSo) {
  const auto state = HostPlatform::GetConfigStoreState();
  EXPECT_EQ(state.path, SnapshotPath());
  EXPECT_FALSE(state.exists);
  EXPECT_EQ(state.problem, "");
  EXPECT_TRUE(state.kinds.empty());
}

TEST_F(StoreState, TellsOwnerModeSizeAndTheNumbersOfObjects) {
  Machine::NeedRoot();
  Put(OpenStore(), "a", "1");
  Put(OpenStore(), "b", "1");
  Put(OpenStore(), "a", "1", kOtherKind);
  ASSERT_EQ(chown(SnapshotPath().c_str(), 0, kReaders), 0);
  const auto state = HostPlatform::GetConfigStoreState();
  EXPECT_TRUE(state.exists);
  EXPECT_EQ(state.problem, "");
  EXPECT_EQ(state.size, ReadFile(SnapshotPath()).size());
  EXPECT_EQ(state.owner, "root");
  EXPECT_EQ(state.group, std::to_string(kReaders)) << "a group without name";
  EXPECT_EQ(state.mode, 0640U);
  EXPECT_EQ(state.modified, StatusOf(SnapshotPath()).st_mtim.tv_sec);
  ASSERT_EQ(state.kinds.size(), 2U);
  EXPECT_EQ(state.kinds[0].component, "tests");
  EXPECT_EQ(state.kinds[0].group, "platform");
  EXPECT_EQ(state.kinds[0].key, kKind);
  EXPECT_EQ(state.kinds[0].objects, 2U);
  EXPECT_EQ(state.kinds[1].key, kOtherKind);
  EXPECT_EQ(state.kinds[1].objects, 1U);
}

TEST_F(StoreState, OfADamagedStoreTellsTheReason) {
  Put(OpenStore(), "a", "1");
  ReplaceFile(SnapshotPath(), "damaged");
  const auto state = HostPlatform::GetConfigStoreState();
  EXPECT_TRUE(state.exists);
  EXPECT_EQ(state.size, 7U);
  EXPECT_NE(state.problem.find("cut short"), std::string::npos) << state.problem;
  EXPECT_TRUE(state.kinds.empty());
}

TEST_F(StoreState, IsReadWhileAWriterHoldsTheLock) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  store->BeginTransaction();
  EXPECT_EQ(HostPlatform::GetConfigStoreState().kinds.size(), 1U);
}

}  // namespace
}  // namespace PlatformTest
