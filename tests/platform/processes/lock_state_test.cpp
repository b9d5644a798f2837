// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a tool sees of the writers' locks.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"
#include "zynctl/config_file.h"

namespace PlatformTest {
namespace {

using HostPlatform::GetLockStates;
using HostPlatform::LockState;

class LockStates : public HostTest {
 protected:
  static LockState OfStore() { return GetLockStates().at(0); }
  static LockState OfFile() { return GetLockStates().at(1); }
};

TEST_F(LockStates, LocksThatAreNotThereAreHeldByNobody) {
  const std::vector<LockState> states = GetLockStates();
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ(states[0].path, PathOf("config-store.lock"));
  EXPECT_EQ(states[1].path, PathOf("host-config.lock"));
  for (const LockState& state : states) {
    EXPECT_FALSE(state.exists);
    EXPECT_FALSE(state.held);
    EXPECT_EQ(state.problem, "");
  }
  EXPECT_FALSE(Exists(HostPath()));
}

TEST_F(LockStates, OpenTransactionHoldsTheStoresLock) {
  Put(OpenStore(), "a", "1");
  EXPECT_FALSE(OfStore().held);
  {
    const Store store = OpenStore();
    store->BeginTransaction();
    const LockState state = OfStore();
    EXPECT_TRUE(state.held);
    EXPECT_EQ(state.holder.find("process " + std::to_string(getpid()) + " ("), 0U) << state.holder;
    EXPECT_EQ(state.mode, 0600U);
    EXPECT_FALSE(OfFile().held);
  }
  EXPECT_FALSE(OfStore().held);
}

TEST_F(LockStates, OpenSessionHoldsTheFilesLock) {
  {
    const ZynCtl::Config::SynchronizedConfigFile first;
    first.file->GetBranch("/a")->SetValue("key", std::string("value"));
    first.file->Write();
  }
  {
    const ZynCtl::Config::SynchronizedConfigFile locked;
    EXPECT_TRUE(OfFile().held);
    EXPECT_FALSE(OfStore().held);
  }
  EXPECT_FALSE(OfFile().held);
}

// Who only reads writes nothing, not even its name.
TEST_F(LockStates, SessionIsNamedFromItsFirstChangeOn) {
  RunInChild([] {
    const ZynCtl::Config::SynchronizedConfigFile first;
    first.file->GetBranch("/a")->SetValue("key", std::string("value"));
    first.file->Write();
  });
  const std::string number = "process " + std::to_string(getpid());
  const ZynCtl::Config::SynchronizedConfigFile locked;
  const auto branch = locked.file->GetBranch("/a");
  std::string value;
  EXPECT_TRUE(branch->GetValue("key", &value));
  EXPECT_EQ(OfFile().holder, number);
  branch->SetValue("key", std::string("other"));
  EXPECT_EQ(OfFile().holder.find(number + " ("), 0U) << OfFile().holder;
}

TEST_F(LockStates, LockOfAnotherProcessIsSeenAndNotTaken) {
  Put(OpenStore(), "a", "1");
  Gate began;
  Gate seen;
  ChildProcess writer([&] {
    const Store store = OpenStore();
    store->BeginTransaction();
    began.Open();
    EXPECT_TRUE(seen.Wait());
    store->SetObject(NewObject("a", "2"), 0);
    store->CommitTransaction();
  });
  ASSERT_TRUE(began.Wait());
  for (int look = 0; look < 3; ++look)
    EXPECT_EQ(OfStore().holder.find("process " + std::to_string(writer.pid()) + " ("), 0U);
  seen.Open();
  EXPECT_TRUE(writer.Succeeds());
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

TEST_F(LockStates, ControlCharactersOfTheHoldersNameAreReplaced) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  store->BeginTransaction();
  const std::string number = "process " + std::to_string(getpid());
  WriteFile(LockPath(), number + " a\x1b[31mb\nmore");
  EXPECT_EQ(OfStore().holder, number + " a?[31mb");
}

TEST_F(LockStates, UserWhoMayNotOpenTheLockFileIsTold) {
  Machine::NeedRoot();
  Put(OpenStore(), "a", "1");
  ASSERT_EQ(chmod(HostPath().c_str(), 0755), 0);
  RunInChild([] {
    BecomeUser(kStranger, {kStranger});
    const LockState state = OfStore();
    EXPECT_FALSE(state.held);
    EXPECT_NE(state.problem.find("config-store.lock: cannot open"), std::string::npos);
  });
}

}  // namespace
}  // namespace PlatformTest
