// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Fork at any moment: a child never holds, releases or harms what is its parent's.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

using Fork = HostTest;

TEST_F(Fork, ChildGetsAUsageErrorOnTheInheritedTransactionAndTheParentStillCommits) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  RunInChild([&] {
    EXPECT_EQ(CodeOf([&] { Get(store, "a"); }), kUsage);
    EXPECT_EQ(CodeOf([&] { List(store); }), kUsage);
    EXPECT_EQ(CodeOf([&] { Put(store, "a", "2"); }), kUsage);
    EXPECT_EQ(CodeOf([&] { store->DeleteObjects(All()); }), kUsage);
    EXPECT_EQ(CodeOf([&] { store->BeginTransaction(); }), kUsage);
    EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage);
  });
  Put(store, "b", "2");
  store->CommitTransaction();
  EXPECT_EQ(List(OpenStore()), (Texts{"1", "2"}));
}

TEST_F(Fork, ChildThatDropsTheInheritedHandleDoesNotReleaseTheParentsLock) {
  Store store = OpenStore();
  store->BeginTransaction();
  RunInChild([&] {
    store->RollbackTransaction();
    store.reset();
  });
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kBusy);
  RunInChild([] { EXPECT_EQ(WriteCode(), kBusy); });
  store->CommitTransaction();
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(Fork, ChildThatRunsTheProgramsExitHandlersDoesNotHarmTheParentsTransaction) {
  static Store store;  // its destructor runs at exit()
  store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kBusy);
  store->CommitTransaction();
  store.reset();
  EXPECT_EQ(Get(OpenStore(), "a"), "1");
}

TEST_F(Fork, ParentsDeathReleasesTheLockAlthoughTheChildLives) {
  Gate forked;
  Gate finished;
  ChildProcess parent([&] {
    const Store store = OpenStore();
    store->BeginTransaction();
    if (fork() == 0) {
      forked.Open();
      finished.Wait();  // with the inherited handle alive
      _exit(0);
    }
    pause();
  });
  ASSERT_TRUE(forked.Wait());
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kBusy);
  parent.Kill();
  HostPlatform::UseLockTimeout(5000);
  EXPECT_EQ(WriteCode(), kNothing);
  finished.Open();
}

TEST_F(Fork, ChildMayUseAHandleOfItsOwn) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  store->BeginTransaction();
  RunInChild([] {
    EXPECT_EQ(Get(OpenStore(), "a"), "1");
    HostPlatform::UseLockTimeout(0);
    EXPECT_EQ(WriteCode(), kBusy) << "the lock is the parent's";
  });
  store->RollbackTransaction();
  RunInChild([] { Put(OpenStore(), "a", "2"); });
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

TEST_F(Fork, ChildUsesAnInheritedHandleWithoutTransactionAsItsOwn) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  const Object fetched = store->GetObject(IdOf("a"));
  RunInChild([&] {
    EXPECT_EQ(TextOf(fetched), "1");
    EXPECT_EQ(Get(store, "a"), "1");
    store->BeginTransaction();
    Put(store, "a", "2");
    store->CommitTransaction();
    EXPECT_EQ(Get(store, "a"), "2");
  });
  EXPECT_EQ(Get(store, "a"), "1");
  EXPECT_EQ(Get(OpenStore(), "a"), "2");
}

TEST_F(Fork, ChildMayRollTheInheritedTransactionBackAndBeginItsOwn) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "the parent's");
  Gate committed;
  ChildProcess child([&] {
    store->RollbackTransaction();
    EXPECT_TRUE(committed.Wait());
    store->BeginTransaction();
    Put(store, "b", "the child's");
    store->CommitTransaction();
  });
  store->CommitTransaction();
  committed.Open();
  EXPECT_TRUE(child.Succeeds());
  EXPECT_EQ(List(OpenStore()), (Texts{"the parent's", "the child's"}));
}

TEST_F(Fork, GrandchildIsNoHolderEither) {
  const Store store = OpenStore();
  store->BeginTransaction();
  RunInChild([&] {
    RunInChild([&] {
      EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage);
      HostPlatform::UseLockTimeout(0);
      EXPECT_EQ(WriteCode(), kBusy);
    });
  });
  store->CommitTransaction();
}

// Threads that are inside calls when the process forks: what they hold must not be locked for ever
// in the child, which has only the thread that forked.
class ForkBesideThreads : public HostTest {
 protected:
  void ForkOften(int times) {
    Put(OpenStore(), "a", "1");
    std::atomic<bool> finished{false};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
      while (!finished)
        Put(OpenStore(), "a", "1");
    });
    for (int i = 0; i < 2; ++i) {
      threads.emplace_back([&] {
        while (!finished)
          EXPECT_EQ(Get(OpenStore(), "a"), "1");
      });
    }
    for (int i = 0; i < times && !HasFailure(); ++i)
      EXPECT_EQ(LookUpInChild(), 0) << "child " << i;
    finished = true;
    for (std::thread& thread : threads)
      thread.join();
  }

 private:
  // The child's wait status.
  static int LookUpInChild() {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      const bool found = Get(OpenStore(), "a") == "1" && List(OpenStore()) == Texts{"1"};
      _exit(found ? 0 : 1);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
  }
};

using LongForkBesideThreads = ForkBesideThreads;

TEST_F(ForkBesideThreads, ThatAreInsideCallsLeavesAChildThatCanRead) {
  ForkOften(300);
}

TEST_F(LongForkBesideThreads, ThatAreInsideCallsLeavesAChildThatCanRead) {
  ForkOften(20'000);
}

TEST_F(ForkBesideThreads, ThatHoldTheLockLeavesAChildThatDoesNot) {
  std::atomic<bool> finished{false};
  std::thread writer([&] {
    while (!finished)
      WriteCode();
  });
  for (int i = 0; i < 100; ++i) {
    Gate ends;
    // Lives on with whatever it inherited, while the parent goes on writing.
    ChildProcess child([&] { ends.Wait(); });
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "b", "1"); }), kNothing);
    ends.Open();
    EXPECT_TRUE(child.Succeeds());
  }
  finished = true;
  writer.join();
}

}  // namespace
}  // namespace PlatformTest
