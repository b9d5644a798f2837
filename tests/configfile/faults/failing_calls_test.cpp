// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Replacements of the file whose system calls fail, one after the other: the file is the old one or
// the new one, the error says so, nothing is left behind, and the next replacement works.
#include "faults/system_calls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "support.h"

namespace ConfigFileTest {
namespace {

using PlatformTest::Stop;
using PlatformTest::SystemCall;
using PlatformTest::Watch;

constexpr char kInPlace[] = "the new content is in place";

bool IsTemporary(const SystemCall& call) {
  return call.path.find(".new-") != std::string::npos;
}

class FailingCalls : public HostTest {
 protected:
  FailingCalls() { Put("key", "old"); }

  // Replaces the file with watched calls; the message of what was raised.
  static std::string Replace(PlatformTest::CallHook hook) {
    Watch(std::move(hook));
    std::string message = MessageOf([] { Put("key", "new"); });
    Stop();
    return message;
  }

  void ExpectCleanAfter(const std::string& message) const {
    const bool isNew = message == kNothingRaised || message.find(kInPlace) != std::string::npos;
    EXPECT_EQ(Get("key"), isNew ? "new" : "old") << message;
    for (const std::string& name : NamesIn(HostPath()))
      EXPECT_EQ(name.find(".new-"), std::string::npos) << name;
    HostPlatform::UseLockTimeout(0);
    EXPECT_EQ(MessageOf([] { Put("key", "old"); }), kNothingRaised) << "the next replacement";
    EXPECT_EQ(Get("key"), "old");
  }

  // Fails the first call of a replacement, then the second, until one gets through untouched.
  void FailEachInTurn(int error) {
    int failures = 0;
    for (std::size_t number = 1;; ++number) {
      std::size_t count = 0;
      std::string failed;
      const std::string message = Replace([&](const SystemCall& call) {
        if (++count != number) return 0;
        failed = call.name + ' ' + call.path;
        return error;
      });
      SCOPED_TRACE("call " + std::to_string(number) + ": " + failed);
      if (message != kNothingRaised) {
        ++failures;
        EXPECT_TRUE(Contains(message, HostPath()));
        EXPECT_TRUE(Contains(message, std::strerror(error)));
      }
      ExpectCleanAfter(message);
      ASSERT_FALSE(HasFailure());
      if (failed.empty()) break;
    }
    EXPECT_GT(failures, 10);
  }
};

TEST_F(FailingCalls, ReplacementFlushesTheFileBeforeTheRenameAndTheDirectoryAfterIt) {
  Watch();
  Put("key", "new");
  Texts order;
  for (const SystemCall& call : Stop()) {
    std::string step;
    if (call.name == "write" && IsTemporary(call)) step = "write";
    if (call.name == "fsync") step = IsTemporary(call) ? "flush file" : "flush " + call.path;
    if (call.name == "rename") step = "rename to " + call.path;
    if (!step.empty() && (order.empty() || order.back() != step)) order.push_back(step);
  }
  EXPECT_EQ(order, (Texts{"write", "flush file", "rename to host-config.json", "flush host"}));
}

TEST_F(FailingCalls, InputAndOutputErrorsAnywhereLeaveTheOldFileOrSayThatTheNewOneIsIn) {
  FailEachInTurn(EIO);
}

TEST_F(FailingCalls, LackOfSpaceAnywhereLeavesTheOldFileOrSaysThatTheNewOneIsIn) {
  FailEachInTurn(ENOSPC);
}

TEST_F(FailingCalls, ExhaustedQuotaAnywhereLeavesTheOldFileOrSaysThatTheNewOneIsIn) {
  FailEachInTurn(EDQUOT);
}

TEST_F(FailingCalls, InterruptedWritesFlushesAndOpensAreRepeated) {
  std::size_t interrupted = 0;
  bool again = false;
  const std::string message = Replace([&](const SystemCall& call) {
    const bool interruptible = call.name == "write" || call.name == "fsync" || call.name == "open";
    again = interruptible && !again;
    if (again) ++interrupted;
    return again ? EINTR : 0;
  });
  EXPECT_EQ(message, kNothingRaised);
  EXPECT_GT(interrupted, 5U);
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(FailingCalls, ShortWritesAreContinued) {
  const std::string filling(5000, 'x');
  for (const std::size_t most : {1, 7, 4096}) {
    Watch();
    PlatformTest::LimitWrites(most);
    const std::string message = MessageOf([&] { Put("key", std::to_string(most) + filling); });
    Stop();
    EXPECT_EQ(message, kNothingRaised);
    EXPECT_EQ(Get("key"), std::to_string(most) + filling);
  }
}

TEST_F(FailingCalls, DescriptorsThatAreAllInUseMakeACallFailAndTheNextOneWork) {
  Watch([](const SystemCall& call) { return call.name == "open" ? EMFILE : 0; });
  const std::string message = MessageOf([] { Put("key", "new"); });
  Stop();
  EXPECT_TRUE(Contains(message, HostPath()));
  ExpectCleanAfter(message);
}

// The flush is slow, and what is replaced is looked at once more behind it.
TEST_F(FailingCalls, FileThatIsReplacedDuringTheFlushOfTheNextIsNotOverwritten) {
  constexpr char kOfOthers[] = "{\"other\": \"kept\"}\n";
  const std::string message = Replace([&](const SystemCall& call) {
    if (call.name == "fsync" && IsTemporary(call)) EditByHand(kOfOthers);
    return 0;
  });
  EXPECT_TRUE(Contains(message, "another process changed it"));
  EXPECT_EQ(Document(), kOfOthers);
}

// It could be another's by then.
TEST_F(FailingCalls, FileThatCouldNotBeLookedAtBehindAWriteIsNotWrittenOverByTheNext) {
  const SynchronizedConfigFile locked;
  BranchOf(locked)->SetValue("key", "first");
  bool inPlace = false;
  Watch([&](const SystemCall& call) {
    inPlace = inPlace || call.name == "rename";
    return inPlace && call.name == "fstat" ? EIO : 0;
  });
  EXPECT_EQ(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
  Stop();
  BranchOf(locked)->SetValue("key", "second");
  EXPECT_TRUE(Contains(MessageOf([&] { locked.file->Write(); }), "another process changed it"));
  EXPECT_TRUE(Contains(Document(), "first"));
}

// A reader goes without the lock where there is none, or it may not have it, and for no other
// reason.
TEST_F(FailingCalls, LockFileThatCannotBeOpenedKeepsReadersOut) {
  const auto readFailing = [](int error) {
    Watch([error](const SystemCall& call) {
      return call.name == "open" && call.path == "host-config.lock" ? error : 0;
    });
    std::string message = MessageOf([] { Get("key"); });
    Stop();
    return message;
  };
  for (const int error : {EIO, EMFILE, ENFILE}) {
    EXPECT_TRUE(Contains(readFailing(error), LockPath()));
    EXPECT_TRUE(Contains(readFailing(error), std::strerror(error)));
  }
  for (const int error : {ENOENT, EACCES, EPERM, EROFS})
    EXPECT_EQ(readFailing(error), kNothingRaised) << std::strerror(error);
}

TEST_F(FailingCalls, FirstReplacementOfAHostLeavesNothingHalfDoneEither) {
  for (std::size_t number = 1;; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    const TemporaryDirectory place;
    HostPlatform::UseHostDirectory(place.PathOf("host"));
    std::size_t count = 0;
    const std::string message =
        Replace([&](const SystemCall&) { return ++count == number ? EIO : 0; });
    const bool isIn = Exists(place.PathOf("host/host-config.json"));
    EXPECT_EQ(Get("key").has_value(), isIn);
    EXPECT_TRUE(isIn || message != kNothingRaised);
    EXPECT_EQ(MessageOf([] { Put("key", "next"); }), kNothingRaised) << message;
    EXPECT_EQ(Get("key"), "next");
    if (count < number) break;
    ASSERT_LT(number, 100U);
  }
}

}  // namespace
}  // namespace ConfigFileTest
