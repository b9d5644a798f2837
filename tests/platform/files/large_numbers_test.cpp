// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Files whose size or time needs more than 32 bits, which a system call can refuse to describe
// where a long has no more.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "platform/feature_list.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "zynctl/config_file.h"

namespace PlatformTest {
namespace {

constexpr off_t kBeyond2GiB = off_t{3} << 30;
constexpr std::int64_t kIn2040 = 2'208'988'800;

using LargeNumbers = HostTest;
using SizeLimit = HostTest;

void SetTime(const std::string& path, std::int64_t time) {
  const timespec both[2] = {{static_cast<time_t>(time), 0}, {static_cast<time_t>(time), 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), both, 0), 0) << path;
}

TEST_F(LargeNumbers, SwitchesOfAFileBeyond2GiBAreObeyed) {
  HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, false);
  ASSERT_EQ(truncate(FeaturesPath().c_str(), kBeyond2GiB), 0);
  StartAfresh();
  const auto state = HostPlatform::GetFeature(kFeatureQuorUsesConfigStore);
  EXPECT_EQ(state.problem, "");
  EXPECT_TRUE(state.mapped);
  EXPECT_FALSE(state.on);
}

TEST_F(LargeNumbers, SwitchesThatWereChangedAfter2038AreObeyed) {
  HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, false);
  SetTime(FeaturesPath(), kIn2040);
  StartAfresh();
  const auto state = HostPlatform::GetFeature(kFeatureQuorUsesConfigStore);
  EXPECT_EQ(state.problem, "");
  EXPECT_TRUE(state.mapped);
  EXPECT_FALSE(state.on);
}

TEST_F(LargeNumbers, ConfigurationFileThatWasWrittenAfter2038IsRead) {
  OpenStore();
  {
    const ZynCtl::Config::SynchronizedConfigFile locked;
    locked.file->GetBranch("/Host")->SetValue("key", "value");
    locked.file->Write();
  }
  SetTime(PathOf("host-config.json"), kIn2040);
  StartAfresh();
  EXPECT_EQ(HostPlatform::GetConfigFileState().modified, kIn2040);
  const ZynCtl::Config::SynchronizedConfigFile locked;
  std::string value;
  EXPECT_TRUE(locked.file->GetBranch("/Host")->GetValue("key", &value));
  EXPECT_EQ(value, "value");
}

// A write beyond the process's own limit raises a signal that ends the program.
TEST_F(SizeLimit, OfTheProcessIsAnException) {
  Put(OpenStore(), "a", "old");
  const std::string before = ReadFile(SnapshotPath());
  for (const rlim_t limit : {0UL, 1UL, 100UL, 3000UL, 100'000UL}) {
    RunInChild([&] {
      const struct rlimit sizes = {limit, limit};
      ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &sizes), 0);
      std::string message;
      EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", std::string(1 << 20, 'x')); }, &message),
                TavConfigStore::kNoSpace);
      EXPECT_NE(message.find("RLIMIT_FSIZE"), std::string::npos) << message;
      message.clear();
      try {
        const ZynCtl::Config::SynchronizedConfigFile locked;
        locked.file->GetBranch("/a")->SetValue("key", std::string(1 << 20, 'x'));
        locked.file->Write();
      } catch (const std::exception& exception) {
        message = exception.what();
      }
      EXPECT_NE(message.find("RLIMIT_FSIZE"), std::string::npos) << message;
      if (limit < 10) {
        EXPECT_THROW(HostPlatform::SetFeature(10, true), std::system_error);
      }
      EXPECT_THROW(HostPlatform::AddNumberedFile("folder", ".txt", std::string(1 << 20, 'x')),
                   std::system_error);
    });
    EXPECT_EQ(ReadFile(SnapshotPath()), before);
    EXPECT_EQ(NamesIn(PathOf("folder")), Texts{".lock"});
  }
  Put(OpenStore(), "a", "new");
}

}  // namespace
}  // namespace PlatformTest
