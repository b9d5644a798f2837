// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// File systems of the tests' own: full ones, read-only ones, and how much space the store takes.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <system_error>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

class OwnFileSystem : public HostTest {
 protected:
  // Runs `body` in a child that sees a new file system, `options` as of tmpfs, in place of the
  // temporary directory. Nobody else sees it, and it goes with the child.
  void RunWith(const std::string& options, const std::function<void()>& body) {
    Machine::NeedNamespaces();
    RunInChild([&] {
      ASSERT_TRUE(Machine::KeepMountsPrivate());
      ASSERT_EQ(mount("none", temporary_.path().c_str(), "tmpfs", 0, options.c_str()), 0);
      body();
    });
  }

  std::size_t UsedBytes() const {
    struct statvfs status;
    EXPECT_EQ(statvfs(temporary_.path().c_str(), &status), 0);
    return (status.f_blocks - status.f_bfree) * status.f_frsize;
  }
};

using FullDisk = OwnFileSystem;

TEST_F(FullDisk, LeavesTheOldStateAndTheNextCommitWorksOnceThereIsSpace) {
  RunWith("size=256k,mode=755", [this] {
    const std::string old(60'000, 'o');
    Put(OpenStore(), "a", old);
    std::string message;
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "b", std::string(150'000, 'n')); }, &message), kNoSpace);
    EXPECT_NE(message.find(SnapshotPath()), std::string::npos) << message;
    EXPECT_NE(message.find("No space"), std::string::npos) << message;
    EXPECT_EQ(List(OpenStore()), Texts{old});
    EXPECT_EQ(NamesIn(HostPath()), (Texts{"config-store.cdb", "config-store.lock", "features"}));
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "b", "small"); }), kNothing) << "the next commit";
    EXPECT_EQ(List(OpenStore()), (Texts{old, "small"}));
  });
}

TEST_F(FullDisk, FilledByOthersIsReportedUntilTheyMakeRoom) {
  RunWith("size=256k,mode=755", [this] {
    Put(OpenStore(), "a", "old");
    const std::string ballast = temporary_.PathOf("ballast");
    EXPECT_THROW(WriteFile(ballast, std::string(300'000, 'x')), std::system_error);
    for (int i = 0; i < 3; ++i)
      EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", "new"); }), kNoSpace);
    EXPECT_EQ(Get(OpenStore(), "a"), "old");
    EXPECT_EQ(NamesIn(HostPath()).size(), 3U);
    ASSERT_EQ(unlink(ballast.c_str()), 0);
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", "new"); }), kNothing);
    EXPECT_EQ(Get(OpenStore(), "a"), "new");
  });
}

TEST_F(FullDisk, FailsTheFirstWriteOfAHostWithoutLeavingASnapshot) {
  RunWith("size=256k,mode=755", [this] {
    ASSERT_EQ(mkdir(HostPath().c_str(), 0750), 0);
    EXPECT_THROW(WriteFile(temporary_.PathOf("ballast"), std::string(300'000, 'x')),
                 std::system_error);
    EXPECT_EQ(WriteCode(), kNoSpace);
    EXPECT_FALSE(Exists(SnapshotPath()));
    EXPECT_EQ(List(OpenStore()), Texts{});
    ASSERT_EQ(unlink(temporary_.PathOf("ballast").c_str()), 0);
    EXPECT_EQ(WriteCode(), kNothing);
  });
}

TEST_F(FullDisk, WithoutInodesIsReportedToo) {
  RunWith("size=1m,nr_inodes=4,mode=755", [] {
    EXPECT_EQ(WriteCode(), kNoSpace) << "two directories, lock, features; none is left for more";
    EXPECT_EQ(List(OpenStore()), Texts{});
  });
}

TEST_F(FullDisk, SwitchesAreReportedAsWell) {
  RunWith("size=256k,mode=755", [this] {
    ASSERT_EQ(mkdir(HostPath().c_str(), 0750), 0);
    EXPECT_THROW(WriteFile(temporary_.PathOf("ballast"), std::string(300'000, 'x')),
                 std::system_error);
    std::error_code code;
    try {
      HostPlatform::SetFeature(9, true);
    } catch (const std::system_error& error) {
      code = error.code();
    }
    EXPECT_EQ(code, std::errc::no_space_on_device);
    EXPECT_FALSE(HostPlatform::GetFeature(9).on);
    EXPECT_FALSE(Exists(FeaturesPath()));
  });
}

TEST_F(FullDisk, LimitOfTheProcessOnFileSizesIsReportedAsNoSpace) {
  RunInChild([this] {
    Put(OpenStore(), "a", "old");
    ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
    const struct rlimit limit = {20'000, 20'000};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", std::string(30'000, 'n')); }), kNoSpace);
    EXPECT_EQ(Get(OpenStore(), "a"), "old");
    EXPECT_EQ(NamesIn(HostPath()).size(), 3U);
  });
}

using ReadOnlyDisk = OwnFileSystem;

TEST_F(ReadOnlyDisk, IsReadAndNotWritten) {
  RunWith("size=1m,mode=755", [this] {
    Put(OpenStore(), "a", "1");
    ASSERT_EQ(mount("none", temporary_.path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr),
              0);
    StartAfresh();
    EXPECT_EQ(Get(OpenStore(), "a"), "1");
    EXPECT_EQ(WriteCode(), kPermissionDenied);
    EXPECT_THROW(HostPlatform::SetFeature(9, true), std::system_error);
  });
}

// Versions of 1 MiB each: what an old one costs while somebody reads it.

constexpr std::size_t kVersion = 1 << 20;
constexpr std::size_t kSmallThings = 64 << 10;

using DiskUse = OwnFileSystem;

void CommitVersions(int count) {
  RunInChild([count] {  // a process of its own, which keeps no version mapped
    for (int i = 0; i < count; ++i)
      Put(OpenStore(), "a", std::to_string(i) + std::string(kVersion, 'x'));
  });
}

TEST_F(DiskUse, IsBoundedByTheNumberOfVersionsThatAreRead) {
  RunWith("size=32m,mode=755", [this] {
    CommitVersions(1);
    EXPECT_LT(UsedBytes(), kVersion + kSmallThings);
    Store idle = OpenStore();
    CommitVersions(10);
    EXPECT_GT(UsedBytes(), 2 * kVersion) << "the idle handle pins its version";
    EXPECT_LT(UsedBytes(), 2 * kVersion + kSmallThings) << "and no other";
    Store second = OpenStore();
    CommitVersions(10);
    EXPECT_LT(UsedBytes(), 3 * kVersion + kSmallThings);
    idle.reset();
    second.reset();
    OpenStore();  // the process's own last version is given up for the newest
    EXPECT_LT(UsedBytes(), kVersion + kSmallThings);
  });
}

TEST_F(DiskUse, OfManyIdleProcessesOnOneVersionIsThatOfOne) {
  RunWith("size=32m,mode=755", [this] {
    CommitVersions(1);
    Gate reads;
    std::vector<std::unique_ptr<ChildProcess>> idle;
    for (int i = 0; i < 10; ++i) {
      idle.push_back(std::make_unique<ChildProcess>([&] {
        const Store store = OpenStore();
        reads.Open();
        pause();
      }));
      ASSERT_TRUE(reads.Wait());
    }
    CommitVersions(5);
    EXPECT_LT(UsedBytes(), 2 * kVersion + kSmallThings);
    idle.clear();
    EXPECT_LT(UsedBytes(), kVersion + kSmallThings);
  });
}

TEST_F(DiskUse, OfAProcessThatOnlyWritesDoesNotGrow) {
  RunWith("size=32m,mode=755", [this] {
    for (int i = 0; i < 20; ++i) {
      Put(OpenStore(), "a", std::to_string(i) + std::string(kVersion, 'x'));
      EXPECT_LT(UsedBytes(), 2 * kVersion + kSmallThings);
    }
  });
}

TEST_F(DiskUse, OfATransactionThatIsRolledBackIsNone) {
  RunWith("size=32m,mode=755", [this] {
    CommitVersions(1);
    const Store store = OpenStore();
    store->BeginTransaction();
    Put(store, "b", std::string(kVersion, 'x'));
    EXPECT_LT(UsedBytes(), kVersion + kSmallThings);
    store->RollbackTransaction();
    EXPECT_LT(UsedBytes(), kVersion + kSmallThings);
  });
}

}  // namespace
}  // namespace PlatformTest
