// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Users who may only read, and users who may not even that.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <functional>
#include <string>

#include "support.h"
#include "support/needs.h"

namespace ConfigFileTest {
namespace {

// A host directory of root and of the group of readers, as a host's package makes it.
class Permissions : public HostTest {
 protected:
  Permissions() {
    Machine::NeedRoot();
    MakeHost();
    GiveHostTo(0);
    Put("key", "old");
  }

  void GiveHostTo(uid_t owner) const {
    Check(chown(HostPath().c_str(), owner, kReaders) == 0, HostPath());
    Check(chmod(HostPath().c_str(), 02750) == 0, HostPath());
  }

  static void RunAs(gid_t group, const std::function<void()>& body) {
    RunInChild([&] {
      BecomeUser(kStranger, {kStranger, group});
      body();
    });
  }
};

TEST_F(Permissions, FilesBelongToTheDirectorysOwnerAndGroup) {
  for (const std::string& name : NamesIn(HostPath())) {
    EXPECT_EQ(StatusOf(PathOf(name)).st_gid, kReaders) << name;
    EXPECT_EQ(StatusOf(PathOf(name)).st_uid, 0U) << name;
  }
  EXPECT_EQ(ModeOf(FilePath()), 0640U);
  EXPECT_EQ(ModeOf(LockPath()), 0600U);
}

TEST_F(Permissions, GroupMemberReads) {
  RunAs(kReaders, [] { EXPECT_EQ(Get("key"), "old"); });
}

TEST_F(Permissions, GroupMemberFollowsLaterChanges) {
  Gate hasRead;
  Gate written;
  ChildProcess reader([&] {
    BecomeUser(kStranger, {kStranger, kReaders});
    EXPECT_EQ(Get("key"), "old");
    hasRead.Open();
    EXPECT_TRUE(written.Wait());
    EXPECT_EQ(Get("key"), "new");
  });
  ASSERT_TRUE(hasRead.Wait());
  Put("key", "new");
  written.Open();
  EXPECT_TRUE(reader.Succeeds());
}

TEST_F(Permissions, GroupMemberIsRefusedForEveryChangeTimeAfterTime) {
  const std::string before = Document();
  RunAs(kReaders, [this] {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    for (int i = 0; i < 3; ++i) {
      const std::string message = MessageOf([&] { branch->SetValue("key", "new"); });
      EXPECT_TRUE(Contains(message, HostPath()));
      EXPECT_TRUE(Contains(message, "Permission denied"));
      EXPECT_NE(MessageOf([&] { branch->RemoveAllChildren(); }), kNothingRaised);
      EXPECT_NE(MessageOf([&] { branch->GetArray("a")->NewInstance(); }), kNothingRaised);
      EXPECT_NE(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
    }
    std::string value;
    EXPECT_TRUE(branch->GetValue("key", &value));
    EXPECT_EQ(value, "old") << "the session still reads";
  });
  EXPECT_EQ(Document(), before);
  EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}));
}

TEST_F(Permissions, GroupMemberReadsWhileAWriterHoldsTheLock) {
  const SynchronizedConfigFile locked;
  BranchOf(locked)->SetValue("key", "unwritten");
  RunAs(kReaders, [] {
    HostPlatform::UseLockTimeout(0);
    EXPECT_EQ(Get("key"), "old");
  });
}

TEST_F(Permissions, GroupMemberCannotKeepWritersOutByLocking) {
  Gate hasLocked;
  Gate written;
  ChildProcess reader([&] {
    BecomeUser(kStranger, {kStranger, kReaders});
    for (const std::string& path : {HostPath(), FilePath(), LockPath()}) {
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
    hasLocked.Open();
    EXPECT_TRUE(written.Wait());
  });
  ASSERT_TRUE(hasLocked.Wait());
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(MessageOf([] { Put("key", "new"); }), kNothingRaised);
  written.Open();
  EXPECT_TRUE(reader.Succeeds());
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(Permissions, GroupMemberCannotReplaceOrRemoveAnything) {
  RunAs(kReaders, [this] {
    for (const std::string& path : {FilePath(), LockPath()}) {
      EXPECT_NE(unlink(path.c_str()), 0);
      EXPECT_NE(rename(path.c_str(), (path + "2").c_str()), 0);
      EXPECT_NE(truncate(path.c_str(), 0), 0);
    }
    EXPECT_LT(open(PathOf("planted").c_str(), O_RDWR | O_CREAT, 0600), 0);
  });
  EXPECT_EQ(Get("key"), "old");
}

TEST_F(Permissions, GroupMemberIsRefusedOnAHostWithoutAnything) {
  ASSERT_EQ(unlink(FilePath().c_str()), 0);
  ASSERT_EQ(unlink(LockPath().c_str()), 0);
  HostPlatform::UseHostDirectory(HostPath());
  RunAs(kReaders, [] {
    EXPECT_EQ(Get("key"), std::nullopt);
    EXPECT_NE(MessageOf([] { Put("key", "new"); }), kNothingRaised);
  });
  EXPECT_EQ(NamesIn(HostPath()), Texts{});
}

TEST_F(Permissions, OutsiderIsToldThatHeMayNotRead) {
  RunAs(kOutsiders, [this] {
    const std::string message = MessageOf([] { Get("key"); });
    EXPECT_TRUE(Contains(message, FilePath()));
    EXPECT_TRUE(Contains(message, "Permission denied"));
    EXPECT_NE(MessageOf([] { Put("key", "new"); }), kNothingRaised);
  });
}

TEST_F(Permissions, OwnerWhoIsNotRootWritesAndHisGroupReads) {
  GiveHostTo(kOwner);
  for (const std::string& path : {FilePath(), LockPath()})
    ASSERT_EQ(chown(path.c_str(), kOwner, kReaders), 0);
  RunInChild([] {
    BecomeUser(kOwner, {kOwner});  // not in the group himself
    Put("key", "of the owner");
  });
  EXPECT_EQ(StatusOf(FilePath()).st_gid, kReaders);
  EXPECT_EQ(ModeOf(FilePath()), 0640U);
  RunAs(kReaders, [] { EXPECT_EQ(Get("key"), "of the owner"); });
  Put("key", "of root");
  EXPECT_EQ(StatusOf(FilePath()).st_uid, kOwner);
  RunInChild([] {
    BecomeUser(kOwner, {kOwner});
    EXPECT_EQ(Get("key"), "of root");
    Put("key", "of the owner");
  });
}

TEST_F(Permissions, RootThatWritesFirstDoesNotLockTheOwnerOut) {
  GiveHostTo(kOwner);
  ASSERT_EQ(unlink(FilePath().c_str()), 0);
  ASSERT_EQ(unlink(LockPath().c_str()), 0);
  HostPlatform::UseHostDirectory(HostPath());
  Put("key", "of root");
  RunInChild([] {
    BecomeUser(kOwner, {kOwner});
    EXPECT_EQ(Get("key"), "of root");
    Put("key", "of the owner");
  });
  EXPECT_EQ(Get("key"), "of the owner");
}

// Whether what the call raises is a matter of permission, also of a copy of it.
bool IsRefusedForPermission(const std::function<void()>& call) {
  try {
    call();
  } catch (const ConfigFileException& failure) {
    const ConfigFileException copy = failure;
    return HostPlatform::IsPermissionFailure(copy);
  }
  ADD_FAILURE() << "nothing was raised";
  return false;
}

TEST_F(Permissions, FailuresForLackOfPermissionAreToldFromOthers) {
  const auto change = [] { Put("key", "new"); };
  RunAs(kReaders, [&] { EXPECT_TRUE(IsRefusedForPermission(change)); });
  RunAs(kOutsiders, [] { EXPECT_TRUE(IsRefusedForPermission([] { Get("key"); })); });
  Check(chmod(HostPath().c_str(), 0777) == 0, HostPath());
  EXPECT_TRUE(IsRefusedForPermission(change));
  Check(chmod(HostPath().c_str(), 02750) == 0, HostPath());
  WriteFile(FilePath(), "{");
  EXPECT_FALSE(IsRefusedForPermission([] { Get("key"); }));
  EXPECT_FALSE(IsRefusedForPermission(change));
}

}  // namespace
}  // namespace ConfigFileTest
