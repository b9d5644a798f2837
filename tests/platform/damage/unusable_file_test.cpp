// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Something else than a whole snapshot in the snapshot's place.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "damage/damage_test.h"
#include "support/child_process.h"
#include "support/needs.h"
#include "support/random.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

class UnusableFile : public DamageTest {
 protected:
  // Nobody can read or write, both say why, and the file stays as it is.
  void ExpectRefused(CSErrorCodes code, const std::string& reason) const {
    std::string message;
    EXPECT_EQ(OpenCode(&message), code);
    EXPECT_NE(message.find(SnapshotPath()), std::string::npos) << message;
    EXPECT_NE(message.find(reason), std::string::npos) << message;
    EXPECT_EQ(WriteCode(), code);
    EXPECT_NE(HostPlatform::GetConfigStoreState().problem.find(reason), std::string::npos);
  }

  void ExpectBytesRefused(const std::string& bytes, const std::string& reason) const {
    StoreBytes(bytes);
    ExpectRefused(kCorrupt, reason);
    EXPECT_TRUE(ReadFile(SnapshotPath()) == bytes) << "a damaged file is never overwritten";
  }
};

TEST_F(UnusableFile, EmptyOneIsNotTakenForANewStore) {
  ExpectBytesRefused("", "empty");
}

TEST_F(UnusableFile, OneCutShortAtAnyLengthIsRefused) {
  for (std::size_t length = 0; length < bytes_.size(); ++length) {
    StoreBytes(std::string_view(bytes_).substr(0, length));
    ASSERT_EQ(OpenCode(), kCorrupt) << "at " << length << " of " << bytes_.size();
  }
  ExpectBytesRefused(bytes_.substr(0, bytes_.size() - 1), "cut short");
}

TEST_F(UnusableFile, OneWithBytesAddedIsRefused) {
  for (const std::size_t added : {1, 2, 7, 8, 48, 4096}) {
    StoreBytes(bytes_ + std::string(added, '\0'));
    ASSERT_EQ(OpenCode(), kCorrupt) << added;
  }
  StoreBytes(bytes_ + bytes_);
  EXPECT_EQ(OpenCode(), kCorrupt);
  StoreBytes(bytes_ + bytes_.substr(bytes_.size() - 48));
  EXPECT_EQ(OpenCode(), kCorrupt) << "a footer of another length";
}

TEST_F(UnusableFile, GarbageIsRefused) {
  Random random(4711);
  for (const std::size_t length : {1, 47, 2047, 2048, 2095, 2096, 2097, 65536}) {
    StoreBytes(random.Bytes(length) + std::string(length, 'x'));
    ASSERT_EQ(OpenCode(), kCorrupt) << length;
    StoreBytes(std::string(length, '\0'));
    ASSERT_EQ(OpenCode(), kCorrupt) << length << " zeros";
    StoreBytes(std::string(length, '\xff'));
    ASSERT_EQ(OpenCode(), kCorrupt) << length << " bytes 255";
  }
  ExpectBytesRefused(std::string(5000, '{'), "no configuration store");
}

TEST_F(UnusableFile, EmptyDatabaseOfTheCdbToolIsRefused) {
  std::string table;
  for (int entry = 0; entry < 256; ++entry)
    table += std::string("\0\x08\0\0\0\0\0\0", 8);  // at byte 2048, no slots
  ExpectBytesRefused(table, "cut short");
}

TEST_F(UnusableFile, HugeSparseOneIsRefusedAtOnce) {
  StoreBytes("x");
  Truncate(SnapshotPath(), std::size_t{5} << 30);
  ExpectRefused(kCorrupt, "larger than the format allows");
  StoreBytes("x");
  Truncate(SnapshotPath(), std::size_t{3} << 30);
  ExpectRefused(kCorrupt, "no configuration store");
}

TEST_F(UnusableFile, DirectoryInItsPlaceIsRefused) {
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  ASSERT_EQ(mkdir(SnapshotPath().c_str(), 0755), 0);
  ExpectRefused(kCorrupt, "not a plain file");
  EXPECT_TRUE(S_ISDIR(StatusOf(SnapshotPath()).st_mode));
}

TEST_F(UnusableFile, PipeInItsPlaceIsRefusedWithoutWaitingForItsOtherEnd) {
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  ASSERT_EQ(mkfifo(SnapshotPath().c_str(), 0600), 0);
  ExpectRefused(kCorrupt, "not a plain file");
  EXPECT_TRUE(S_ISFIFO(StatusOf(SnapshotPath()).st_mode));
}

TEST_F(UnusableFile, DeviceInItsPlaceIsRefused) {
  Machine::NeedNamespaces();
  RunInChild([this] {
    ASSERT_TRUE(Machine::KeepMountsPrivate());
    // Mounted, as the root of a user namespace may make no device.
    ASSERT_EQ(mount("/dev/zero", SnapshotPath().c_str(), nullptr, MS_BIND, nullptr), 0);
    ExpectRefused(kCorrupt, "not a plain file");
  });
}

TEST_F(UnusableFile, SocketInItsPlaceIsRefused) {
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  ASSERT_EQ(mknod(SnapshotPath().c_str(), S_IFSOCK | 0600, 0), 0);
  ExpectRefused(kIoError, "cannot open");
}

TEST_F(UnusableFile, SymbolicLinkInItsPlaceIsRefusedAndNotReplaced) {
  const std::string target = temporary_.PathOf("target");
  WriteFile(target, bytes_);
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  ASSERT_EQ(symlink(target.c_str(), SnapshotPath().c_str()), 0);
  ExpectRefused(kInsecure, "symbolic link");
  EXPECT_TRUE(S_ISLNK(StatusOf(SnapshotPath()).st_mode));
  EXPECT_TRUE(ReadFile(target) == bytes_);
}

TEST_F(UnusableFile, SymbolicLinkToNothingIsNotTakenForANewStore) {
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  ASSERT_EQ(symlink(temporary_.PathOf("absent").c_str(), SnapshotPath().c_str()), 0);
  ExpectRefused(kInsecure, "symbolic link");
  EXPECT_FALSE(Exists(temporary_.PathOf("absent")));
}

TEST_F(UnusableFile, OneOfANewerFormatIsRefusedWithTheWayOut) {
  std::string newer = bytes_;
  newer[bytes_.size() - 40] = 3;  // the footer's version
  StoreBytes(newer);
  ExpectRefused(kUnsupported, "format 3");
  EXPECT_TRUE(ReadFile(SnapshotPath()) == newer);
}

TEST_F(UnusableFile, PutBackFromABackupIsReadAgain) {
  StoreBytes("garbage");
  EXPECT_EQ(OpenCode(), kCorrupt);
  StoreBytes(bytes_);
  EXPECT_FALSE(AskEverything().raised);
  EXPECT_EQ(WriteCode(), kNothing);
}

TEST_F(UnusableFile, MovedAwayLetsTheStoreStartAfresh) {
  StoreBytes("garbage");
  EXPECT_EQ(OpenCode(), kCorrupt);
  ASSERT_EQ(rename(SnapshotPath().c_str(), PathOf("damaged").c_str()), 0);
  EXPECT_EQ(WriteCode(), kNothing);
  EXPECT_EQ(ReadFile(PathOf("damaged")), "garbage");
}

// A foreign hand on the file while this process has it mapped.

TEST_F(UnusableFile, TruncatedInPlaceIsNoticedByTheNextHandle) {
  EXPECT_EQ(OpenCode(), kNothing);
  Truncate(SnapshotPath(), bytes_.size() / 2);
  EXPECT_EQ(OpenCode(), kCorrupt);
  Truncate(SnapshotPath(), 0);
  EXPECT_EQ(OpenCode(), kCorrupt);
}

TEST_F(UnusableFile, OverwrittenInPlaceIsNoticedByTheNextHandle) {
  EXPECT_FALSE(AskEverything().raised);
  usleep(20'000);  // the clock of file times ticks
  WriteFile(SnapshotPath(), SampleWith("text of beta", "damaged beta"));
  const Answers answers = AskEverything();
  EXPECT_EQ(answers.wrong, "");
  EXPECT_TRUE(answers.raised);
}

TEST_F(UnusableFile, ReplacedByAnotherIsReadByTheNextHandle) {
  Put(OpenStore(), "beta", "newer");
  EXPECT_EQ(Get(OpenStore(), "beta"), "newer");
  ReplaceFile(SnapshotPath(), bytes_);
  EXPECT_EQ(Get(OpenStore(), "beta"), "text of beta");
}

}  // namespace
}  // namespace PlatformTest
