// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Calls that fail between two steps of making something: what was made halfway is taken away again,
// and what was there is not written over.
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <cerrno>
#include <new>
#include <string>
#include <system_error>

#include "faults/failing_allocations.h"
#include "faults/system_calls.h"
#include "support/child_process.h"
#include "support/host_test.h"
#include "support/needs.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

using HalfMade = HostTest;

CallHook FailingAt(const std::string& call, const std::string& path) {
  return [=](const SystemCall& made) { return made.name == call && made.path == path ? EIO : 0; };
}

CSErrorCodes CommitFailingAt(const std::string& call, const std::string& path) {
  Watch(FailingAt(call, path));
  const CSErrorCodes code = CodeOf([] { Put(OpenStore(), "a", "new"); });
  Stop();
  return code;
}

TEST_F(HalfMade, SwitchesAreNotWrittenOverWhenTheirFileCannotBeLookedAt) {
  Put(OpenStore(), "a", "old");
  HostPlatform::SetFeature(9, true);
  EXPECT_EQ(CommitFailingAt("stat", "features"), kIoError);
  EXPECT_EQ(ReadFile(FeaturesPath())[9], 1);
  HostPlatform::UseHostDirectory(HostPath());
  EXPECT_TRUE(HostPlatform::GetFeature(9).on);
  EXPECT_EQ(Get(OpenStore(), "a"), "old");
}

TEST_F(HalfMade, LockFileWhoseModeCannotBeSetIsTakenAway) {
  EXPECT_EQ(CommitFailingAt("fchmod", "config-store.lock"), kIoError);
  EXPECT_FALSE(Exists(LockPath()));
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_EQ(ModeOf(LockPath()), 0600U);
}

TEST_F(HalfMade, HostDirectoryWhoseModeCannotBeSetIsTakenAway) {
  EXPECT_EQ(CommitFailingAt("fchmod", "host"), kIoError);
  EXPECT_FALSE(Exists(HostPath()));
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_EQ(ModeOf(HostPath()), 02750U);
}

// Kills a process with that body at its first such call.
template <typename Body>
void KillAt(const char* call, const char* path, Body body) {
  ChildProcess writer([&] {
    Watch([&](const SystemCall& made) {
      if (made.name == call && made.path == path) kill(getpid(), SIGKILL);
      return 0;
    });
    body();
  });
  EXPECT_FALSE(writer.Succeeds()) << call << ' ' << path << " is never called";
}

TEST_F(HalfMade, HostDirectoryOfAKilledWriterIsFinishedByTheNext) {
  umask(0077);
  KillAt("fchmod", "host", [] { WriteCode(); });
  umask(0022);
  EXPECT_NE(ModeOf(HostPath()), 02750U);
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_EQ(ModeOf(HostPath()), 02750U);
}

TEST_F(HalfMade, HostDirectoryWithAModeOfItsOwnKeepsIt) {
  ASSERT_EQ(mkdir(HostPath().c_str(), 0700), 0);
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_EQ(ModeOf(HostPath()) & 0777, 0700U);
}

TEST_F(HalfMade, LockFileOfAKilledWriterIsFinishedByTheNext) {
  Machine::NeedRoot();
  Put(OpenStore(), "a", "old");
  ASSERT_EQ(chown(HostPath().c_str(), kStranger, kReaders), 0);
  ASSERT_EQ(unlink(LockPath().c_str()), 0);
  KillAt("fchown", "config-store.lock", [] { WriteCode(); });
  EXPECT_EQ(StatusOf(LockPath()).st_uid, 0U);
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_EQ(StatusOf(LockPath()).st_uid, kStranger);
}

TEST_F(HalfMade, LockFileOfAKilledWriterWithoutAnyModeIsFinishedByTheNext) {
  Machine::NeedRoot();
  Put(OpenStore(), "a", "old");
  ASSERT_EQ(chmod(temporary_.path().c_str(), 0755), 0);
  for (const char* name : {"", "config-store.cdb", "features"})
    ASSERT_EQ(chown(PathOf(name).c_str(), kStranger, kReaders), 0);
  ASSERT_EQ(unlink(LockPath().c_str()), 0);
  RunInChild([this] {
    BecomeUser(kStranger, {kReaders});
    umask(0777);
    KillAt("fchmod", "config-store.lock", [] { WriteCode(); });
    EXPECT_EQ(ModeOf(LockPath()), 0U);
    EXPECT_EQ(WriteCode(), kNothing);
    EXPECT_EQ(ModeOf(LockPath()), 0600U);
  });
}

TEST_F(HalfMade, FolderOfNumberedFilesOfAKilledWriterIsFinishedByTheNext) {
  Put(OpenStore(), "a", "old");
  KillAt("fchmod", "folder", [] { HostPlatform::AddNumberedFile("folder", ".txt", "content"); });
  EXPECT_EQ(HostPlatform::AddNumberedFile("folder", ".txt", "content"), 1U);
  EXPECT_EQ(ModeOf(PathOf("folder")), 02750U);
}

// A caller may go on with the handle.
TEST_F(HalfMade, ChangeOutsideOfATransactionThatFailedLeavesNoneOpen) {
  const Store store = OpenStore();
  Put(store, "a", "old");
  Watch([](const SystemCall& call) { return call.name == "write" ? ENOSPC : 0; });
  EXPECT_EQ(CodeOf([&] { Put(store, "a", "lost"); }), kNoSpace);
  Stop();
  EXPECT_EQ(CodeOf([&] { Put(store, "b", "new"); }), kNothing);
  EXPECT_EQ(List(OpenStore()), (Texts{"old", "new"}));
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kNothing) << "the lock is free";
}

class HalfCarriedOver : public HostTest {
 protected:
  HalfCarriedOver() : HostTest(PlaceWithUserAttributes()) {}
};

// An access list, for one: a snapshot without it would be open to others, or closed to some.
TEST_F(HalfCarriedOver, SnapshotWhoseAttributesCannotBeReadIsNotReplaced) {
  Put(OpenStore(), "a", "old");
  ASSERT_EQ(setxattr(SnapshotPath().c_str(), "user.origin", "backup", 6, 0), 0);
  for (const char* call : {"flistxattr", "fgetxattr"}) {
    EXPECT_EQ(CommitFailingAt(call, "config-store.cdb"), kIoError) << call;
    EXPECT_EQ(Get(OpenStore(), "a"), "old");
    EXPECT_GE(getxattr(SnapshotPath().c_str(), "user.origin", nullptr, 0), 0);
  }
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_GE(getxattr(SnapshotPath().c_str(), "user.origin", nullptr, 0), 0);
}

TEST_F(HalfCarriedOver, AttributeThatIsRemovedMeanwhileIsNoObstacle) {
  Put(OpenStore(), "a", "old");
  ASSERT_EQ(setxattr(SnapshotPath().c_str(), "user.origin", "backup", 6, 0), 0);
  Watch([](const SystemCall& call) { return call.name == "fgetxattr" ? ENODATA : 0; });
  EXPECT_EQ(WriteCode(), kNothing);
  Stop();
  EXPECT_LT(getxattr(SnapshotPath().c_str(), "user.origin", nullptr, 0), 0);
}

TEST_F(HalfMade, FolderOfNumberedFilesWhoseModeCannotBeSetIsTakenAway) {
  Put(OpenStore(), "a", "old");
  Watch(FailingAt("fchmod", "folder"));
  EXPECT_THROW(HostPlatform::AddNumberedFile("folder", ".txt", "content"), std::system_error);
  Stop();
  EXPECT_FALSE(Exists(PathOf("folder")));
  EXPECT_EQ(HostPlatform::AddNumberedFile("folder", ".txt", "content"), 1U);
  EXPECT_EQ(ModeOf(PathOf("folder")), 02750U);
}

TEST_F(HalfMade, FirstCommitThatCannotFlushTheDirectorySaysWhatIsInPlace) {
  std::string message;
  Watch(FailingAt("fsync", "host"));
  const CSErrorCodes code = CodeOf([] { Put(OpenStore(), "a", "new"); }, &message);
  Stop();
  EXPECT_EQ(code, kIoError);
  EXPECT_NE(message.find("the new content is in place"), std::string::npos) << message;
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

// Fails each allocation of the call in turn, until none is left.
template <typename Call, typename Check>
void ForEachFailingAllocation(Call call, Check check) {
  int failures = 0;
  for (int number = 1;; ++number) {
    SCOPED_TRACE("allocation " + std::to_string(number));
    bool raised = false;
    WatchAllocations({number, false});
    try {
      call();
    } catch (const std::bad_alloc&) {
      raised = true;
    }
    const bool failed = StopWatchingAllocations().failed != 0;
    if (!failed) break;
    failures += raised ? 1 : 0;
    check();
    ASSERT_FALSE(testing::Test::HasFailure());
  }
  EXPECT_GT(failures, 10);
}

TEST_F(HalfMade, MemoryThatRunsOutInACommitLeavesNoTemporary) {
  Put(OpenStore(), "a", "old");
  ForEachFailingAllocation([] { Put(OpenStore(), "a", "new"); },
                           [this] {
                             for (const std::string& name : NamesIn(HostPath()))
                               EXPECT_EQ(name.find(".new-"), std::string::npos) << name;
                           });
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

// A caller may go on after it: the transaction is as it was before the call, whichever one failed.
TEST_F(HalfMade, MemoryThatRunsOutInATransactionLeavesItWhole) {
  Put(OpenStore(), "a", "old");
  for (int first = 1; first < 40; ++first) {
    const Store store = OpenStore();
    store->BeginTransaction();
    const auto repeat = [&](const std::function<void()>& change) {
      WatchAllocations({first, false});
      bool raised = false;
      try {
        change();
      } catch (const std::bad_alloc&) {
        raised = true;
      }
      StopWatchingAllocations();
      if (raised) change();
    };
    repeat([&] { Put(store, "a", "new"); });
    repeat([&] { Put(store, "b", "one"); });
    repeat([&] { Put(store, "b", "two"); });
    EXPECT_EQ(Get(store, "b"), "two");
    EXPECT_EQ(List(store), (Texts{"new", "two"})) << "allocation " << first;
    repeat([&] { store->DeleteObjects(One("a")); });
    EXPECT_EQ(List(store), Texts{"two"}) << "allocation " << first;
    store->RollbackTransaction();
  }
}

TEST_F(HalfMade, MemoryThatRunsOutWhileAFileIsAddedIsRaised) {
  HostPlatform::AddNumberedFile("folder", ".txt", "content");
  ForEachFailingAllocation([] { HostPlatform::AddNumberedFile("folder", ".txt", "content"); },
                           [this] {
                             const std::vector<std::string> made = {".lock", "1.txt"};
                             EXPECT_EQ(NamesIn(PathOf("folder")), made);
                           });
}

}  // namespace
}  // namespace PlatformTest
