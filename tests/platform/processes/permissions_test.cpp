// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Users who may only read, and users who may not even that.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

// A host directory of root and of the group of readers, as a host's package makes it.
class Permissions : public HostTest {
 protected:
  Permissions() {
    Machine::NeedRoot();
    EXPECT_EQ(mkdir(HostPath().c_str(), 0700), 0);
    EXPECT_EQ(chown(HostPath().c_str(), 0, kReaders), 0);
    EXPECT_EQ(chmod(HostPath().c_str(), 02750), 0);
  }

  static void RunAsReader(const std::function<void()>& body) {
    RunInChild([&] {
      BecomeUser(kStranger, {kStranger, kReaders});
      body();
    });
  }

  static void RunAsOutsider(const std::function<void()>& body) {
    RunInChild([&] {
      BecomeUser(kStranger, {kStranger, kOutsiders});
      body();
    });
  }
};

TEST_F(Permissions, FilesBelongToTheDirectorysGroup) {
  Put(OpenStore(), "a", "1");
  for (const std::string& name : NamesIn(HostPath())) {
    EXPECT_EQ(StatusOf(PathOf(name)).st_gid, kReaders) << name;
    EXPECT_EQ(StatusOf(PathOf(name)).st_uid, 0U) << name;
  }
}

TEST_F(Permissions, ReaderWithoutWritePermissionReadsEverything) {
  Put(OpenStore(), "a", "1");
  HostPlatform::SetFeature(9, true);
  RunAsReader([&] {
    EXPECT_EQ(Get(OpenStore(), "a"), "1");
    EXPECT_EQ(List(OpenStore()), Texts{"1"});
    EXPECT_TRUE(HostPlatform::GetFeature(9).on);
    EXPECT_EQ(HostPlatform::GetConfigStoreState().problem, "");
  });
}

TEST_F(Permissions, ReaderFollowsLaterCommits) {
  Put(OpenStore(), "a", "1");
  Gate read;
  Gate committed;
  ChildProcess reader([&] {
    BecomeUser(kStranger, {kStranger, kReaders});
    EXPECT_EQ(Get(OpenStore(), "a"), "1");
    read.Open();
    EXPECT_TRUE(committed.Wait());
    EXPECT_EQ(Get(OpenStore(), "a"), "2");
  });
  EXPECT_TRUE(read.Wait());
  Put(OpenStore(), "a", "2");
  committed.Open();
  EXPECT_TRUE(reader.Succeeds());
}

TEST_F(Permissions, ReaderCreatesAndChangesNothing) {
  Put(OpenStore(), "a", "1");
  const Texts names = NamesIn(HostPath());
  const std::string bytes = ReadFile(SnapshotPath());
  const std::string lock = ReadFile(LockPath());
  RunAsReader([&] {
    List(OpenStore());
    EXPECT_EQ(WriteCode(), kPermissionDenied);
  });
  EXPECT_EQ(NamesIn(HostPath()), names);
  EXPECT_TRUE(ReadFile(SnapshotPath()) == bytes);
  EXPECT_EQ(ReadFile(LockPath()), lock);
}

TEST_F(Permissions, ReaderCannotBeginATransaction) {
  Put(OpenStore(), "a", "1");
  RunAsReader([&] {
    const Store store = OpenStore();
    std::string message;
    EXPECT_EQ(CodeOf([&] { store->BeginTransaction(); }, &message), kPermissionDenied);
    EXPECT_NE(message.find(HostPath()), std::string::npos) << message;
    EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage) << "none is open";
    EXPECT_EQ(Get(store, "a"), "1") << "the handle still reads";
  });
}

TEST_F(Permissions, ReaderReadsNothingOnAnEmptyHostAndCannotWrite) {
  RunAsReader([] {
    EXPECT_EQ(List(OpenStore()), Texts{});
    EXPECT_EQ(WriteCode(), kPermissionDenied);
  });
  EXPECT_EQ(NamesIn(HostPath()), Texts{});
}

TEST_F(Permissions, ReaderDoesNotDependOnWhoElseHasTheStoreOpen) {
  Put(OpenStore(), "a", "1");
  const auto readsAlike = [] { EXPECT_EQ(Get(OpenStore(), "a"), "1"); };
  RunAsReader(readsAlike);
  const Store writer = OpenStore();
  writer->BeginTransaction();
  RunAsReader(readsAlike);
  writer->RollbackTransaction();
  ASSERT_EQ(unlink(LockPath().c_str()), 0);
  RunAsReader(readsAlike);
}

TEST_F(Permissions, ReaderCannotBlockWritersByLocking) {
  Put(OpenStore(), "a", "1");
  Gate locked;
  Gate written;
  ChildProcess reader([&] {
    BecomeUser(kStranger, {kStranger, kReaders});
    for (const std::string& path : {HostPath(), SnapshotPath(), FeaturesPath(), LockPath()}) {
      const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
      EXPECT_EQ(file >= 0, path != LockPath()) << path;
      flock(file, LOCK_EX | LOCK_NB);
      struct flock everything = {};
      everything.l_type = F_RDLCK;
      everything.l_whence = SEEK_SET;
      fcntl(file, F_SETLK, &everything);
      fcntl(file, F_OFD_SETLK, &everything);
    }
    EXPECT_LT(open(LockPath().c_str(), O_RDWR | O_CLOEXEC), 0);
    locked.Open();
    EXPECT_TRUE(written.Wait());
  });
  EXPECT_TRUE(locked.Wait());
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", "2"); }), kNothing);
  EXPECT_NO_THROW(HostPlatform::SetFeature(9, true));
  written.Open();
  EXPECT_TRUE(reader.Succeeds());
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

TEST_F(Permissions, OutsiderIsToldThatHeMayNotRead) {
  Put(OpenStore(), "a", "1");
  RunAsOutsider([&] {
    std::string message;
    EXPECT_EQ(OpenCode(&message), kPermissionDenied);
    EXPECT_NE(message.find(SnapshotPath()), std::string::npos) << message;
    EXPECT_EQ(WriteCode(), kPermissionDenied);
    EXPECT_NE(HostPlatform::GetConfigStoreState().problem, "");
  });
}

TEST_F(Permissions, OutsiderIsToldSoAlsoWhenNothingIsStored) {
  RunAsOutsider([] { EXPECT_EQ(OpenCode(), kPermissionDenied); });
}

TEST_F(Permissions, NonRootOwnerWritesAndItsReadersRead) {
  ASSERT_EQ(chown(HostPath().c_str(), kOtherStranger, kReaders), 0);
  ASSERT_EQ(chmod(HostPath().c_str(), 02750), 0);
  RunInChild([] {
    BecomeUser(kOtherStranger, {kOtherStranger, kReaders});
    Put(OpenStore(), "a", "1");
  });
  RunAsReader([] {
    EXPECT_EQ(Get(OpenStore(), "a"), "1");
    EXPECT_EQ(WriteCode(), kPermissionDenied);
  });
}

TEST_F(Permissions, RootRunningAToolDoesNotLockTheOwnerOut) {
  ASSERT_EQ(chown(HostPath().c_str(), kOtherStranger, kReaders), 0);
  ASSERT_EQ(chmod(HostPath().c_str(), 02750), 0);
  Put(OpenStore(), "a", "written by root");
  for (const std::string& name : NamesIn(HostPath())) {
    EXPECT_EQ(StatusOf(PathOf(name)).st_uid, kOtherStranger) << name;
    EXPECT_EQ(StatusOf(PathOf(name)).st_gid, kReaders) << name;
  }
  RunInChild([] {
    BecomeUser(kOtherStranger, {kOtherStranger, kReaders});
    EXPECT_EQ(Get(OpenStore(), "a"), "written by root");
    Put(OpenStore(), "a", "written by the owner");
    HostPlatform::SetFeature(9, true);
  });
  Put(OpenStore(), "b", "written by root again");
  EXPECT_EQ(StatusOf(SnapshotPath()).st_uid, kOtherStranger);
  EXPECT_EQ(List(OpenStore()), (Texts{"written by the owner", "written by root again"}));
}

TEST_F(Permissions, DirectoryOfAnotherUserIsNotWrittenTo) {
  ASSERT_EQ(chown(HostPath().c_str(), kOtherStranger, kReaders), 0);
  ASSERT_EQ(chmod(HostPath().c_str(), 0770), 0);
  RunAsReader([] { EXPECT_EQ(WriteCode(), kPermissionDenied); });
  EXPECT_EQ(NamesIn(HostPath()), Texts{});
}

TEST_F(Permissions, FailuresForLackOfPermissionAreToldFromOthers) {
  Put(OpenStore(), "a", "1");
  const auto isRefused = [](const std::function<void()>& call) {
    try {
      call();
    } catch (const ConfigStoreException& failure) {
      return HostPlatform::IsPermissionFailure(failure);
    }
    ADD_FAILURE() << "nothing was raised";
    return false;
  };
  RunAsOutsider([&] { EXPECT_TRUE(isRefused([] { OpenStore(); })); });
  RunAsReader([&] { EXPECT_TRUE(isRefused([] { OpenStore()->BeginTransaction(); })); });
  WriteFile(SnapshotPath(), "damaged");
  StartAfresh();
  EXPECT_FALSE(isRefused([] { OpenStore(); }));
}

}  // namespace
}  // namespace PlatformTest
