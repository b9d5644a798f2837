// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A disk without room: the old document stays, the message says so, and the next write works once
// there is room.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <functional>
#include <string>
#include <system_error>

#include "support.h"
#include "support/needs.h"

namespace ConfigFileTest {
namespace {

class FullDisk : public HostTest {
 protected:
  // Runs `body` in a child that sees a new file system in place of the temporary directory. Nobody
  // else sees it, and it goes with the child.
  void RunWith(const std::string& options, const std::function<void()>& body) const {
    Machine::NeedNamespaces();
    RunInChild([&] {
      ASSERT_TRUE(Machine::KeepMountsPrivate());
      ASSERT_EQ(mount("none", temporary_.path().c_str(), "tmpfs", 0, options.c_str()), 0);
      body();
    });
  }
};

TEST_F(FullDisk, KeepsTheOldDocument) {
  RunWith("size=256k,mode=755", [this] {
    Put("key", std::string(60'000, 'o'));
    const std::string before = Document();
    const std::string message = MessageOf([] { Put("more", std::string(200'000, 'n')); });
    EXPECT_TRUE(Contains(message, FilePath()));
    EXPECT_TRUE(Contains(message, "No space"));
    EXPECT_TRUE(Document() == before);
    EXPECT_EQ(Get("more"), std::nullopt);
    EXPECT_EQ(NamesIn(HostPath()), (Texts{"host-config.json", "host-config.lock"}));
    EXPECT_EQ(MessageOf([] { Put("more", "little"); }), kNothingRaised);
    EXPECT_EQ(Get("more"), "little");
  });
}

TEST_F(FullDisk, FilledByOthersIsReportedUntilTheyMakeRoom) {
  RunWith("size=256k,mode=755", [this] {
    Put("key", "old");
    const std::string ballast = temporary_.PathOf("ballast");
    EXPECT_THROW(WriteFile(ballast, std::string(300'000, 'x')), std::system_error);
    for (int i = 0; i < 3; ++i)
      EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), "No space"));
    EXPECT_EQ(Get("key"), "old");
    ASSERT_EQ(unlink(ballast.c_str()), 0);
    Put("key", "new");
    EXPECT_EQ(Get("key"), "new");
  });
}

TEST_F(FullDisk, FailsTheFirstWriteOfAHostWithoutLeavingADocument) {
  RunWith("size=256k,mode=755", [this] {
    MakeHost();
    EXPECT_THROW(WriteFile(temporary_.PathOf("ballast"), std::string(300'000, 'x')),
                 std::system_error);
    EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), "No space"));
    EXPECT_FALSE(Exists(FilePath()));
    EXPECT_EQ(Get("key"), std::nullopt);
  });
}

TEST_F(FullDisk, MountedReadOnlyIsReadAndNotWritten) {
  RunWith("size=1m,mode=755", [this] {
    Put("key", "old");
    ASSERT_EQ(mount("none", temporary_.path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr),
              0);
    EXPECT_EQ(Get("key"), "old");
    EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), "Read-only"));
    EXPECT_EQ(Get("key"), "old");
  });
}

}  // namespace
}  // namespace ConfigFileTest
