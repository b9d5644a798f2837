// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Commits whose system calls fail, one after the other: the state is the old one or the new one,
// the error says so, and the next commit works.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include "faults/system_calls.h"
#include "support/host_test.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

class FailingCalls : public HostTest {
 protected:
  static bool IsTemporary(const SystemCall& call) {
    return call.path.find(".new-") != std::string::npos;
  }

  // Commits a change with watched calls.
  CSErrorCodes Commit(CallHook hook, std::string* message = nullptr) {
    Watch(std::move(hook));
    const CSErrorCodes code = CodeOf([] { Put(OpenStore(), "a", "new"); }, message);
    calls_ = Stop();
    return code;
  }

  // What must hold after each failure, wherever it was.
  void ExpectCleanAfter(CSErrorCodes code, const std::string& message) {
    const bool isIn = message.find("the new content is in place") != std::string::npos;
    EXPECT_EQ(Get(OpenStore(), "a"), code == kNothing || isIn ? "new" : "old") << message;
    if (Exists(HostPath())) {
      for (const std::string& name : NamesIn(HostPath()))
        EXPECT_EQ(name.find(".new-"), std::string::npos) << name;
    }
    HostPlatform::UseLockTimeout(0);
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", "old"); }), kNothing) << "the next commit";
    EXPECT_EQ(Get(OpenStore(), "a"), "old");
  }

  // Fails the first call of a commit, then the second, until a commit gets through untouched. Each
  // failure but EINTR, which is no failure, must come back as `expected`.
  void FailEachInTurn(int error, CSErrorCodes expected) {
    Put(OpenStore(), "a", "old");
    int failures = 0;
    for (std::size_t number = 1;; ++number) {
      SCOPED_TRACE("call " + std::to_string(number));
      std::size_t count = 0;
      std::string failed;
      std::string message;
      const CSErrorCodes code = Commit(
          [&](const SystemCall& call) {
            if (++count != number) return 0;
            failed = call.name + ' ' + call.path;
            return error;
          },
          &message);
      if (failed.empty()) {
        EXPECT_EQ(code, kNothing);
        break;
      }
      // Who has the lock may remain unsaid.
      EXPECT_TRUE(code == expected || code == kNothing) << failed << " gave " << code;
      if (code != kNothing) {
        ++failures;
        EXPECT_NE(message.find(HostPath()), std::string::npos) << message;
      }
      ExpectCleanAfter(code, message);
      ASSERT_FALSE(HasFailure()) << failed;
    }
    EXPECT_GT(failures, expected == kNothing ? -1 : 10);
  }

  std::vector<SystemCall> calls_;
};

TEST_F(FailingCalls, CommitFlushesTheFileBeforeTheRenameAndTheDirectoryAfterIt) {
  Put(OpenStore(), "a", "old");
  EXPECT_EQ(Commit(nullptr), kNothing);
  std::vector<std::string> order;
  for (const SystemCall& call : calls_) {
    std::string step;
    if (call.name == "write" && IsTemporary(call)) step = "write";
    if (call.name == "fsync") step = IsTemporary(call) ? "flush file" : "flush " + call.path;
    if (call.name == "rename") step = "rename to " + call.path;
    if (!step.empty() && (order.empty() || order.back() != step)) order.push_back(step);
  }
  EXPECT_EQ(order, (Texts{"write", "flush file", "rename to config-store.cdb", "flush host"}));
}

TEST_F(FailingCalls, ReadsFlushAndWriteNothing) {
  Put(OpenStore(), "a", "old");
  StartAfresh();
  Watch();
  EXPECT_EQ(Get(OpenStore(), "a"), "old");
  EXPECT_EQ(List(OpenStore()), Texts{"old"});
  for (const SystemCall& call : Stop())
    EXPECT_TRUE(call.name == "open" || call.name == "fstat") << call.name;
}

TEST_F(FailingCalls, WarmReadOpensNothing) {
  Put(OpenStore(), "a", "old");
  OpenStore();
  Watch();
  EXPECT_EQ(Get(OpenStore(), "a"), "old");
  EXPECT_TRUE(Stop().empty());
}

TEST_F(FailingCalls, InputAndOutputErrorsAnywhereLeaveTheOldStateOrSayThatTheNewOneIsIn) {
  FailEachInTurn(EIO, kIoError);
}

TEST_F(FailingCalls, LackOfSpaceAnywhereIsReportedAsSuch) {
  FailEachInTurn(ENOSPC, kNoSpace);
}

TEST_F(FailingCalls, ExhaustedQuotaIsLackOfSpace) {
  FailEachInTurn(EDQUOT, kNoSpace);
}

TEST_F(FailingCalls, ReadOnlyFileSystemIsReportedAsMissingPermission) {
  FailEachInTurn(EROFS, kPermissionDenied);
}

TEST_F(FailingCalls, InterruptedWritesFlushesAndOpensAreRepeated) {
  Put(OpenStore(), "a", "old");
  std::size_t interrupted = 0;
  bool again = false;
  const CSErrorCodes code = Commit([&](const SystemCall& call) {
    const bool interruptible = call.name == "write" || call.name == "fsync" || call.name == "open";
    again = interruptible && !again;
    if (again) ++interrupted;
    return again ? EINTR : 0;
  });
  EXPECT_EQ(code, kNothing);
  EXPECT_GT(interrupted, 5U);
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

TEST_F(FailingCalls, ShortWritesAreContinued) {
  const std::string filling(5000, 'x');
  for (const std::size_t most : {1, 7, 4096}) {
    Watch();
    LimitWrites(most);
    const CSErrorCodes code =
        CodeOf([&] { Put(OpenStore(), "a", std::to_string(most) + filling); });
    Stop();
    EXPECT_EQ(code, kNothing);
    StartAfresh();
    EXPECT_EQ(Get(OpenStore(), "a"), std::to_string(most) + filling);
  }
}

TEST_F(FailingCalls, WriteThatTakesNothingIsAnErrorInsteadOfALoop) {
  Put(OpenStore(), "a", "old");
  std::size_t writes = 0;
  std::string message;
  const CSErrorCodes code = Commit(
      [&](const SystemCall& call) {
        if (call.name == "write") ++writes;
        return call.name == "write" && writes > 1 ? EIO : 0;
      },
      &message);
  EXPECT_EQ(code, kIoError);
  EXPECT_LT(writes, 10U);
  ExpectCleanAfter(code, message);
}

TEST_F(FailingCalls, FileWhoseFlushFailedIsNotFlushedAgainButWrittenAnew) {
  Put(OpenStore(), "a", "old");
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "new");
  std::vector<std::string> flushed;
  const auto failFlush = [&](const SystemCall& call) {
    if (call.name != "fsync" || !IsTemporary(call)) return 0;
    flushed.push_back(call.path);
    return flushed.size() <= 2 ? EIO : 0;
  };
  Watch(failFlush);
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kIoError);
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kIoError);
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kNothing);
  Stop();
  ASSERT_EQ(flushed.size(), 3U);
  EXPECT_NE(flushed[0], flushed[1]);
  EXPECT_NE(flushed[1], flushed[2]);
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

TEST_F(FailingCalls, DirectoryWhoseFlushFailedIsReportedWithTheNewStateInPlace) {
  Put(OpenStore(), "a", "old");
  std::string message;
  const CSErrorCodes code = Commit(
      [&](const SystemCall& call) { return call.name == "fsync" && !IsTemporary(call) ? EIO : 0; },
      &message);
  EXPECT_EQ(code, kIoError);
  EXPECT_NE(message.find("the new content is in place"), std::string::npos) << message;
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
  ExpectCleanAfter(code, message);
}

TEST_F(FailingCalls, CommitThatIsInPlaceIsNotRepeatedAndIsSeenByItsHandle) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "new");
  Watch(
      [](const SystemCall& call) { return call.name == "fsync" && !IsTemporary(call) ? EIO : 0; });
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kIoError);
  Stop();
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kUsage);
  store->RollbackTransaction();
  EXPECT_EQ(Get(store, "a"), "new");
}

// A process that has as many descriptors open as it may.
int OutOfDescriptors(const SystemCall& call) {
  return call.name == "open" ? EMFILE : 0;
}

TEST_F(FailingCalls, DescriptorsThatAreAllInUseMakeACallFailAndTheNextOneWork) {
  Put(OpenStore(), "a", "old");
  StartAfresh();
  Watch(&OutOfDescriptors);
  EXPECT_EQ(OpenCode(), kIoError);
  EXPECT_EQ(WriteCode(), kIoError);
  EXPECT_THROW(HostPlatform::SetFeature(9, true), std::system_error);
  Stop();
  EXPECT_EQ(List(OpenStore()), Texts{"old"});
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(FailingCalls, DescriptorsThatRunOutDuringACommitLeaveTheOldStateAndTheTransactionOpen) {
  Put(OpenStore(), "a", "old");
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "new");
  Watch(&OutOfDescriptors);
  EXPECT_EQ(CodeOf([&] { store->CommitTransaction(); }), kIoError);
  Stop();
  EXPECT_EQ(Get(OpenStore(), "a"), "old");
  store->CommitTransaction();
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
}

TEST_F(FailingCalls, FirstCommitOfAHostLeavesNothingHalfDoneEither) {
  for (std::size_t number = 1;; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    const TemporaryDirectory place;
    HostPlatform::UseHostDirectory(place.PathOf("host"));
    std::size_t count = 0;
    std::string message;
    const CSErrorCodes code =
        Commit([&](const SystemCall&) { return ++count == number ? EIO : 0; }, &message);
    const bool isIn = Exists(place.PathOf("host/config-store.cdb"));
    EXPECT_EQ(Get(OpenStore(), "a").has_value(), isIn);
    EXPECT_TRUE(isIn || code != kNothing);
    EXPECT_EQ(CodeOf([] { Put(OpenStore(), "a", "next"); }), kNothing) << message;
    EXPECT_EQ(Get(OpenStore(), "a"), "next");
    if (count < number) break;
    ASSERT_LT(number, 100U);
  }
}

}  // namespace
}  // namespace PlatformTest
