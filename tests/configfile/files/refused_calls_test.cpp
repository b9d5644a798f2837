// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Single system calls that the kernel refuses: what needs them raises, what can do without goes on.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>

#include "access_list.h"
#include "support.h"

namespace ConfigFileTest {
namespace {

constexpr unsigned kAnyCommand = 0xffffffff;

// From now on the call fails with that error in this process; with its second argument as a
// command.
void Refuse(long call, int error, unsigned command = kAnyCommand) {
  const auto refusal = static_cast<unsigned>(SECCOMP_RET_ERRNO | error);
  const unsigned char skip = command == kAnyCommand ? 1 : 0;
  struct sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, args[1])),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, command, 0, static_cast<unsigned char>(1 - skip)),
      BPF_STMT(BPF_RET | BPF_K, refusal),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  struct sock_fprog program = {sizeof filter / sizeof *filter, filter};
  Check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
            prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0,
        "refuse a system call");
}

class RefusedCalls : public HostTest {
 protected:
  RefusedCalls() { Put("key", "old"); }

  void GiveAccessList() const {
    // An access list, which is an extended attribute on every file system of a host.
    const char list[] =
        "\2\0\0\0\1\0\6\0\xff\xff\xff\xff\2\0\4\0\x31\xd4\0\0\4\0\4\0\xff\xff\xff\xff"
        "\x10\0\4\0\xff\xff\xff\xff\x20\0\0\0\xff\xff\xff\xff";
    Check(setxattr(FilePath().c_str(), "system.posix_acl_access", list, sizeof list - 1, 0) == 0,
          FilePath());
  }

  // Whether a change of the file gets through where that call is refused.
  bool IsWritten(long call, int error, unsigned command = kAnyCommand) {
    RunInChild([&] {
      Refuse(call, error, command);
      const std::string message = MessageOf([] { Put("key", "new"); });
      if (message != kNothingRaised) {
        EXPECT_TRUE(Contains(message, std::strerror(error)));
      }
    });
    EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}));
    const bool written = Get("key") == "new";
    Put("key", "old");
    return written;
  }
};

TEST_F(RefusedCalls, OfLocksAreRaised) {
  EXPECT_FALSE(IsWritten(SYS_fcntl, EIO, F_OFD_SETLK));
  EXPECT_FALSE(IsWritten(SYS_fcntl, ENOLCK, F_OFD_SETLK));
}

TEST_F(RefusedCalls, OfRandomNumbersAreNoObstacle) {
  EXPECT_TRUE(IsWritten(SYS_getrandom, EAGAIN));
}

TEST_F(RefusedCalls, OfTheSweepAreNoObstacle) {
  EXPECT_TRUE(IsWritten(SYS_getdents64, EIO));
}

TEST_F(RefusedCalls, OfAttributesAreRaisedUnlessTheyMayNotBeKept) {
  for (const int error : {ENOTSUP, EPERM, EACCES}) {
    GiveAccessList();
    EXPECT_TRUE(IsWritten(SYS_fsetxattr, error)) << error;
  }
  GiveAccessList();
  EXPECT_FALSE(IsWritten(SYS_fsetxattr, EIO));
  GiveAccessList();
  EXPECT_TRUE(IsWritten(SYS_fgetxattr, EPERM));
  EXPECT_TRUE(IsWritten(SYS_flistxattr, ENOTSUP));
}

// Without the list its mask, which is the group's part of the mode, would be the group's rights.
TEST_F(RefusedCalls, OfAnAccessListOpenTheFileToNobody) {
  GiveAccessList();
  EXPECT_EQ(ModeOf(FilePath()), 0640U);
  EXPECT_TRUE(IsWritten(SYS_fsetxattr, EPERM));
  EXPECT_EQ(ModeOf(FilePath()), 0600U);
}

// A filter of system calls refuses the removal also where there is nothing to remove.
TEST_F(RefusedCalls, OfTakingAnAccessListAwayAreRaisedUnlessThereIsNone) {
  for (const int error : {ENODATA, ENOTSUP, EPERM, EACCES})
    EXPECT_TRUE(IsWritten(SYS_fremovexattr, error)) << error;
  EXPECT_FALSE(IsWritten(SYS_fremovexattr, EIO));
}

TEST_F(RefusedCalls, OfTakingTheDirectorysAccessListAwayAreRaised) {
  Check(SetList(HostPath(), kDefaultList, ListFor(kStranger, 0)), HostPath());
  for (const int error : {EPERM, EACCES, EIO})
    EXPECT_FALSE(IsWritten(SYS_fremovexattr, error)) << error;
}

TEST_F(RefusedCalls, OfTheOwnerAreRaisedUnlessItMayNotBeGiven) {
  EXPECT_TRUE(IsWritten(SYS_fchown, EPERM));
  EXPECT_FALSE(IsWritten(SYS_fchown, EIO));
  EXPECT_FALSE(IsWritten(SYS_fchmod, EIO));
}

TEST_F(RefusedCalls, OfALinkAreRaised) {
  ASSERT_EQ(rename(FilePath().c_str(), temporary_.PathOf("real").c_str()), 0);
  ASSERT_EQ(symlink("../real", FilePath().c_str()), 0);
  EXPECT_FALSE(IsWritten(SYS_readlinkat, EIO));
}

TEST_F(RefusedCalls, OfTheSwitchesAreRaised) {
  HostPlatform::SetFeature(9, true);
  for (const long call : {SYS_pwrite64, SYS_fdatasync}) {
    RunInChild([call] {
      Refuse(call, EIO);
      EXPECT_ANY_THROW(HostPlatform::SetFeature(9, false));
    });
  }
}

TEST_F(RefusedCalls, OfLooksAtLocksAreTold) {
  RunInChild([] {
    Refuse(SYS_fcntl, EIO, F_OFD_GETLK);
    bool told = false;
    for (const auto& lock : HostPlatform::GetLockStates())
      told = told || lock.problem.find(std::strerror(EIO)) != std::string::npos;
    EXPECT_TRUE(told);
  });
}

TEST_F(RefusedCalls, OfADirectoryThatIsGoneAgainAreRaised) {
  std::filesystem::remove_all(HostPath());
  HostPlatform::UseHostDirectory(HostPath());
  RunInChild([] {
    Refuse(SYS_mkdir, EEXIST);
    EXPECT_NE(MessageOf([] { Put("key", "new"); }), kNothingRaised);
  });
  EXPECT_FALSE(Exists(HostPath()));
}

}  // namespace
}  // namespace ConfigFileTest
