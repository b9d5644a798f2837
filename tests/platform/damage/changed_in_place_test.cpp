// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A snapshot that somebody cuts or overwrites while it is in use, and systems that do not let it be
// read in the usual way.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>

#include "damage/damage_test.h"
#include "support/child_process.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

// From now on the call fails with that error in this process; mmap() only where it maps a file.
void Refuse(long call, int error) {
  constexpr auto kDescriptor = offsetof(struct seccomp_data, args[4]);
  struct sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 4),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_mmap, 0, 2),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kDescriptor),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0xffffffff, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, static_cast<unsigned>(SECCOMP_RET_ERRNO | error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  struct sock_fprog program = {sizeof filter / sizeof *filter, filter};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

class ChangedInPlace : public DamageTest {
 protected:
  // Each in a process that has read nothing yet.
  void ExpectReadWhere(long call, int error) {
    RunInChild([&] {
      HostPlatform::UseHostDirectory(HostPath());
      Refuse(call, error);
      const auto store = OpenStore();
      EXPECT_EQ(Get(store, "alpha"), "text of alpha");
      Put(OpenStore(), "beta", "newer");
      EXPECT_EQ(Get(store, "beta"), "text of beta") << "as it was when the store was opened";
      EXPECT_EQ(Get(OpenStore(), "beta"), "newer");
      Put(OpenStore(), "beta", "text of beta");
      EXPECT_FALSE(AskEverything().raised);
    });
  }
};

TEST_F(ChangedInPlace, CutOneRaisesWhatCannotBeReadAndKeepsWhatWas) {
  RunInChild([&] {
    const auto store = OpenStore();
    EXPECT_EQ(Get(store, "alpha"), "text of alpha");
    Truncate(SnapshotPath(), 0);
    EXPECT_EQ(Get(store, "alpha"), "text of alpha");
    try {
      Get(store, "beta");
      FAIL() << "beta was not read before";
    } catch (const ConfigStoreException& failure) {
      EXPECT_EQ(failure.code(), kIoError);
      const std::string message = failure.what();
      EXPECT_EQ(message.find(SnapshotPath() + ", bytes "), 0U) << message;
      EXPECT_NE(message.find("it ends too early"), std::string::npos) << message;
    }
  });
}

TEST_F(ChangedInPlace, ListingOfACutOneRaisesAndLeavesNothingOut) {
  RunInChild([&] {
    const auto store = OpenStore();
    EXPECT_EQ(Get(store, "alpha"), "text of alpha");
    Truncate(SnapshotPath(), 0);
    EXPECT_THROW(store->GetObjects(All(kKind)), ConfigStoreException);
  });
}

TEST_F(ChangedInPlace, CutAndGrownOneRaises) {
  RunInChild([&] {
    const auto store = OpenStore();
    Truncate(SnapshotPath(), 0);
    Truncate(SnapshotPath(), bytes_.size());
    EXPECT_THROW(Get(store, "beta"), ConfigStoreException);
  });
}

// Records of the two files stand at the same places, and each file is whole.
TEST_F(ChangedInPlace, OneThatAnotherWasCopiedOverIsNeverReadAsBoth) {
  const auto store = OpenStore();
  EXPECT_EQ(Get(store, "alpha"), "text of alpha");
  RunInChild([&] {
    HostPlatform::UseHostDirectory(HostPath());
    Put(OpenStore(), "beta", "next of beta");
  });
  const std::string next = ReadFile(SnapshotPath());
  StoreBytes(bytes_);
  RunInChild([&] {
    HostPlatform::UseHostDirectory(HostPath());
    const auto first = OpenStore();
    EXPECT_EQ(Get(first, "alpha"), "text of alpha");
    WriteFile(SnapshotPath(), next);
    EXPECT_THROW(Get(first, "beta"), ConfigStoreException);
    usleep(20'000);  // the clock of file times ticks
    EXPECT_EQ(Get(OpenStore(), "beta"), "next of beta");
  });
}

TEST_F(ChangedInPlace, IsReadWhereNoFileCanBeMapped) {
  ExpectReadWhere(SYS_mmap, ENODEV);
}

TEST_F(ChangedInPlace, IsReadWhereTheKernelDoesNotCopy) {
  for (const int error : {EPERM, ENOSYS})
    ExpectReadWhere(SYS_process_vm_readv, error);
}

}  // namespace
}  // namespace PlatformTest
