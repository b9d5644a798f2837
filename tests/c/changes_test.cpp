// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the descriptor of changes notices, and that it notices nothing else.
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "changes_support.h"
#include "support/child_process.h"
#include "support/needs.h"

namespace CTest {
namespace {

namespace fs = std::filesystem;
using PlatformTest::ReadFile;
using PlatformTest::ReplaceFile;
using PlatformTest::RunInChild;
using PlatformTest::WriteFile;

class Changes : public CInterface {
 protected:
  // A host on which something was stored.
  Changes() {
    UseStore(true);
    PutCatalogue("first");
  }
};

TEST_F(Changes, NothingIsReadableBeforeAChange) {
  const Noticed changes;
  EXPECT_FALSE(changes.Waits(50));
  EXPECT_EQ(changes.Fallback(), "");
  EXPECT_EQ(changes.Read(), 0U);
}

TEST_F(Changes, ReadersAndLockFilesAndOtherNamesAreNone) {
  const Noticed changes;
  quor_digests digests;
  quor_digests_get(&digests, nullptr);
  WriteFile(PathOf("something-else"), "x");
  fs::remove(PathOf("something-else"));
  fs::create_directory(PathOf("history"));
  EXPECT_FALSE(changes.Waits(50));
}

TEST_F(Changes, ACommitIsOneWakeUpOfItsStore) {
  const Noticed changes;
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
  EXPECT_FALSE(changes.Waits(1200));  // not even when things have settled
  EXPECT_EQ(changes.Read(), 0U);
}

TEST_F(Changes, ACommitToTheConfigurationFileIsToldAsSuch) {
  UseStore(false);
  PutCatalogue("in the file");
  const Noticed changes;
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_FILE);
  EXPECT_FALSE(changes.Waits(50));
}

TEST_F(Changes, TheFirstCommitOfTheOtherStoreIsNoticed) {
  const Noticed changes;
  UseStore(false);
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_FILE, QUOR_CHANGED_FILE);
}

TEST_F(Changes, ASwitchIsNoticedInPlaceAndAnew) {
  const Noticed changes;
  HostPlatform::UseHostDirectory(PathOf(""));
  HostPlatform::SetFeature(kStoreSwitch, false);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_SWITCH, QUOR_CHANGED_SWITCH);
  changes.Settle();
  HostPlatform::SetFeature(kStoreSwitch, true);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_SWITCH);
}

TEST_F(Changes, SwitchesThatAreReplacedAreToldUntilLibquorObeysThem) {
  HostPlatform::UseHostDirectory(PathOf(""));
  HostPlatform::SetFeature(kStoreSwitch, true);
  std::string switches = ReadFile(PathOf("features"));
  switches[kStoreSwitch] = 0;
  const Noticed changes;
  changes.Digests();
  ReplaceFile(PathOf("features"), switches);
  unsigned which = 0;
  while (changes.Waits(1500)) {
    if (changes.Read() != 0) which |= changes.Digests();
  }
  EXPECT_EQ(which, QUOR_DIFFERENT_POLICIES | QUOR_DIFFERENT_DATASTORES);
}

TEST_F(Changes, AFileThatIsWrittenOverInPlaceIsNoticedToItsLastByte) {
  const Noticed changes;
  const std::string bytes = ReadFile(PathOf("config-store.cdb"));
  WriteFile(PathOf("config-store.cdb"), bytes);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
  changes.Settle();
  EXPECT_FALSE(changes.Waits(50));
}

TEST_F(Changes, AFileThatIsReplacedIsWatchedInItsTurn) {
  const Noticed changes;
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_TRUE(changes.Waits(5000));
  changes.Read();
  WriteFile(PathOf("config-store.cdb"), ReadFile(PathOf("config-store.cdb")));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
}

TEST_F(Changes, SettledHandsLeaveThingsAsQuietAsBefore) {
  const Noticed changes;
  WriteFile(PathOf("config-store.cdb"), ReadFile(PathOf("config-store.cdb")));
  for (int i = 0; i < 6 && changes.Waits(1500); ++i) {
    changes.Read();
  }
  EXPECT_FALSE(changes.Waits(1500));
}

TEST_F(Changes, WhatIsCopiedBehindAChangeByHandIsSeenALittleLater) {
  const Noticed changes;
  WriteFile(PathOf("config-store.cdb"), ReadFile(PathOf("config-store.cdb")));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
  while (changes.Waits(100)) {
    changes.Read();  // the other half of the writing
  }
  WriteFile(PathOf("host-config.json"), "{}");  // of the store that is not in use: no event
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_FILE, QUOR_CHANGED_FILE);
}

TEST_F(Changes, WhereTheSelectedStoreHasNoFileAnyThatComesIsNoticedAndTheNextCommitIsOneWakeUp) {
  for (const bool configStore : {true, false}) {
    const std::string host = temporary_.PathOf(configStore ? "new-store" : "new-file");
    fs::create_directory(host);
    HostPlatform::UseHostDirectory(host);
    HostPlatform::SetFeature(kStoreSwitch, configStore);
    if (!configStore) fs::copy_file(PathOf("config-store.cdb"), host + "/config-store.cdb");
    const Noticed changes(host);
    const std::string file = host + (configStore ? "/config-store.cdb" : "/host-config.json");
    if (configStore) {
      fs::copy_file(PathOf("config-store.cdb"), file);
    } else {
      WriteFile(file, "{}");
    }
    const unsigned bit = configStore ? QUOR_CHANGED_STORE : QUOR_CHANGED_FILE;
    ASSERT_TRUE(changes.Waits(5000));
    EXPECT_EQ(changes.Read() & bit, bit);
    changes.Settle();
    WriteFile(host + "/something-else", "x");  // new names are not waited for any more
    EXPECT_FALSE(changes.Waits(50));
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
      ASSERT_TRUE(changes.Waits(5000));
      EXPECT_EQ(changes.Read(), bit);
      EXPECT_FALSE(changes.Waits(50));
    }
  }
}

TEST_F(Changes, AFileThatGoesIsNoticedAndOneThatComesBackToo) {
  const Noticed changes;
  fs::rename(PathOf("config-store.cdb"), temporary_.PathOf("kept"));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
  changes.Settle();
  fs::copy_file(temporary_.PathOf("kept"), PathOf("config-store.cdb"));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_STORE, QUOR_CHANGED_STORE);
}

TEST_F(Changes, ADirectoryThatIsSwappedIsFollowed) {
  const std::string other = temporary_.PathOf("other");
  fs::copy(PathOf(""), other, fs::copy_options::recursive);
  const Noticed changes;
  fs::rename(PathOf(""), temporary_.PathOf("old"));
  fs::rename(other, PathOf(""));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_DIRECTORY, QUOR_CHANGED_DIRECTORY);
  changes.Settle();
  ReplaceFile(PathOf("config-store.cdb"), ReadFile(PathOf("config-store.cdb")));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
  changes.Settle();
  ReplaceFile(temporary_.PathOf("old") + "/config-store.cdb", "the old one is nobody's concern");
  EXPECT_FALSE(changes.Waits(50));
}

TEST_F(Changes, SoIsALinkToIt) {
  const std::string link = temporary_.PathOf("link");
  const std::string next = temporary_.PathOf("next");
  fs::create_directory(temporary_.PathOf("empty"));
  fs::create_symlink("host", link);  // relative
  const Noticed changes(link);
  fs::create_symlink(temporary_.PathOf("empty"), next);
  fs::rename(next, link);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_DIRECTORY | QUOR_CHANGED_STORE | QUOR_CHANGED_SWITCH);
  fs::remove(link);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_DIRECTORY, QUOR_CHANGED_DIRECTORY);
}

TEST_F(Changes, SoIsADirectoryAboveIt) {
  fs::create_directories(temporary_.PathOf("a/b"));
  fs::rename(PathOf(""), temporary_.PathOf("a/b/host"));
  const Noticed changes(temporary_.PathOf("a/b/host"));
  fs::rename(temporary_.PathOf("a"), temporary_.PathOf("c"));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_DIRECTORY, QUOR_CHANGED_DIRECTORY);
  fs::rename(temporary_.PathOf("c"), temporary_.PathOf("a"));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_DIRECTORY, QUOR_CHANGED_DIRECTORY);
}

TEST_F(Changes, APathMayHaveDotsAndSlashes) {
  const Noticed changes(temporary_.path() + "//host/./../host/");
  EXPECT_EQ(changes.Fallback(), "");
  WriteFile(PathOf("something-else"), "x");  // a new name, for which nobody waits
  EXPECT_FALSE(changes.Waits(50));
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
}

TEST_F(Changes, ALoopOfLinksIsToldAndATimerTakesTurns) {
  const std::string loop = temporary_.PathOf("loop");
  fs::create_symlink("loop", loop);
  const Noticed changes(loop);
  EXPECT_EQ(changes.Fallback(), loop + ": cannot be watched: Too many levels of symbolic links");
  EXPECT_TRUE(changes.Waits(5000));
}

TEST_F(Changes, ADirectoryThatIsNotThereYetIsWaitedFor) {
  const std::string later = temporary_.PathOf("x/y");
  const Noticed changes(later);
  EXPECT_EQ(changes.Fallback(), "");
  fs::create_directories(later);
  ASSERT_TRUE(changes.Waits(5000));
  changes.Settle();
  fs::copy_file(PathOf("config-store.cdb"), later + "/config-store.cdb");  // not by renaming
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_STORE, QUOR_CHANGED_STORE);
}

TEST_F(Changes, WhatALinkInTheDirectoryLeadsToIsWatchedWhereItIs) {
  UseStore(false);
  PutCatalogue("in the file");
  fs::create_directory(temporary_.PathOf("elsewhere"));
  const std::string target = temporary_.PathOf("elsewhere/real.json");
  fs::rename(PathOf("host-config.json"), target);
  fs::create_symlink(target, PathOf("host-config.json"));
  const Noticed changes;
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  EXPECT_TRUE(fs::is_symlink(PathOf("host-config.json")));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_FILE);
  EXPECT_FALSE(changes.Waits(50));
}

// The file behind links that are swapped as a whole, as container managers do.
TEST_F(Changes, ALinkOnTheWayToTheFileMayBeSwappedAgainAndAgain) {
  UseStore(false);
  PutCatalogue("in the file");
  for (const char* const version : {"v1", "v2", "v3"}) {
    fs::create_directory(PathOf(version));
    fs::copy_file(PathOf("host-config.json"), PathOf(version) + "/host-config.json");
  }
  fs::remove(PathOf("host-config.json"));
  fs::create_symlink("v1", PathOf("..data"));
  fs::create_symlink("..data/host-config.json", PathOf("host-config.json"));
  const Noticed changes;
  for (const char* const version : {"v2", "v3"}) {
    fs::create_symlink(version, PathOf("..next"));
    fs::rename(PathOf("..next"), PathOf("..data"));
    ASSERT_TRUE(changes.Waits(5000)) << version;
    EXPECT_EQ(changes.Read() & QUOR_CHANGED_FILE, QUOR_CHANGED_FILE);
    changes.Settle();
  }
}

TEST_F(Changes, ADirectoryOnTheWayToTheFileMayBeSwapped) {
  UseStore(false);
  PutCatalogue("in the file");
  for (const char* const place : {"a/b", "next/b"}) {
    fs::create_directories(temporary_.PathOf(place));
    fs::copy_file(PathOf("host-config.json"), temporary_.PathOf(place) + "/c.json");
  }
  fs::remove(PathOf("host-config.json"));
  fs::create_symlink(temporary_.PathOf("a/b/c.json"), PathOf("host-config.json"));
  const Noticed changes;
  fs::rename(temporary_.PathOf("a"), temporary_.PathOf("old"));
  fs::rename(temporary_.PathOf("next"), temporary_.PathOf("a"));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_FILE, QUOR_CHANGED_FILE);
}

TEST_F(Changes, TheTargetOfALinkThatLeadsNowhereIsWaitedFor) {
  UseStore(false);
  PutCatalogue("in the file");
  fs::rename(PathOf("host-config.json"), temporary_.PathOf("kept"));
  fs::create_symlink("../x/y/real.json", PathOf("host-config.json"));
  const Noticed changes;
  fs::create_directory(temporary_.PathOf("x"));
  ASSERT_TRUE(changes.Waits(5000));
  changes.Settle();
  fs::create_directory(temporary_.PathOf("x/y"));
  fs::rename(temporary_.PathOf("kept"), temporary_.PathOf("x/y/real.json"));
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & QUOR_CHANGED_FILE, QUOR_CHANGED_FILE);
  changes.Settle();
  ReplaceFile(temporary_.PathOf("x/y/real.json"), "{}");
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_FILE);
}

TEST_F(Changes, TheVerdictOfTheDigestsComesWhenAskedFor) {
  const Noticed changes;
  EXPECT_EQ(changes.Digests(), 0U);
  PutCatalogue("another one");
  EXPECT_EQ(changes.Digests(), QUOR_DIFFERENT_POLICIES);
  ASSERT_EQ(quor_datastores_replace(nullptr, nullptr), QUOR_OK);
  EXPECT_EQ(changes.Digests(), QUOR_DIFFERENT_DATASTORES);
  EXPECT_EQ(changes.Digests(), 0U);
}

TEST_F(Changes, OneWhoMayOnlyReadIsToldAsWell) {
  Machine::NeedRoot();
  fs::permissions(PathOf(""), fs::perms(0755));
  RunInChild([&] {
    PlatformTest::BecomeUser(PlatformTest::kStranger, {PlatformTest::kReaders});
    const Noticed changes(PathOf(""));
    EXPECT_EQ(changes.Fallback(), "");
    EXPECT_FALSE(changes.Waits(10));
  });
  PlatformTest::Gate opened;
  PlatformTest::ChildProcess reader([&] {
    PlatformTest::BecomeUser(PlatformTest::kStranger, {PlatformTest::kReaders});
    const Noticed changes(PathOf(""));
    opened.Open();
    EXPECT_TRUE(changes.Waits(20'000));
    EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
  });
  ASSERT_TRUE(opened.Wait());
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  EXPECT_TRUE(reader.Succeeds());
}

TEST_F(Changes, WithoutARightToReadTheDirectoryATimerTakesTurns) {
  Machine::NeedRoot();
  fs::permissions(PathOf(""), fs::perms(0711));
  RunInChild([&] {
    PlatformTest::BecomeUser(PlatformTest::kStranger, {PlatformTest::kReaders});
    const Noticed changes(PathOf(""));
    EXPECT_EQ(changes.Fallback(), PathOf("") + ": cannot be watched: Permission denied");
    EXPECT_TRUE(changes.Waits(5000));
  });
}

// Limits of a user namespace of its own; true when they are set.
bool LimitTo(const char* what, const char* number) {
  if (unshare(CLONE_NEWUSER) != 0) return false;
  std::ofstream file(std::string("/proc/sys/user/max_inotify_") + what);
  file << number << std::flush;
  return file.good();
}

TEST_F(Changes, LimitsOfInotifyAreToldAndATimerNoticesChanges) {
  for (const char* const what : {"instances", "watches"}) {
    RunInChild([&] {
      if (!LimitTo(what, "0")) {
        std::puts("left out: Changes.LimitsOfInotify: needs a user namespace");
        return;
      }
      const Noticed changes(PathOf(""));
      EXPECT_NE(changes.Fallback().find(std::string("max_user_") + what), std::string::npos)
          << changes.Fallback();
      ASSERT_TRUE(changes.Waits(5000));
      EXPECT_EQ(changes.Read(), 0U);
      ReplaceFile(PathOf("config-store.cdb"), ReadFile(PathOf("config-store.cdb")));
      ASSERT_TRUE(changes.Waits(5000));
      EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
    });
  }
}

TEST_F(Changes, MoreEventsThanTheSystemKeepsAreToldAsLost) {
  std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
  int most = 0;
  limit >> most;
  if (most > 100'000) Machine::LeaveOut("a queue of inotify that can be filled");
  const Noticed changes;
  WriteFile(PathOf("a"), "x");
  for (int i = 0; i <= most / 2 + 1; ++i) {
    ASSERT_EQ(rename(PathOf("a").c_str(), PathOf("b").c_str()), 0);
    ASSERT_EQ(rename(PathOf("b").c_str(), PathOf("a").c_str()), 0);
  }
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read() & (QUOR_CHANGED_LOST | QUOR_CHANGED_STORE),
            QUOR_CHANGED_LOST | QUOR_CHANGED_STORE);
  changes.Settle();
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  ASSERT_TRUE(changes.Waits(5000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
}

TEST_F(Changes, ARelativeDirectoryIsWrongUse) {
  quor_changes* changes;
  EXPECT_EQ(quor_changes_open("here", &changes, nullptr), QUOR_USAGE);
  EXPECT_EQ(changes, nullptr);
  quor_changes_close(changes);
}

TEST_F(Changes, ClosingLeavesNoDescriptorOpen) {
  const auto count = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = count();
  { const Noticed changes; }
  EXPECT_EQ(count(), before);
}

quor_revision RevisionNow() {
  quor_revision revision;
  EXPECT_EQ(quor_revision_get(&revision, nullptr), QUOR_OK);
  return revision;
}

TEST(Revision, IsTheSameWhileNothingChangesAndAnotherOneAfterwards) {
  // The directory of this process, as the test is started in one of its own.
  const std::string host = std::getenv("QUOR_HOST_DIR");
  HostPlatform::UseHostDirectory(host);
  PutCatalogue("first");
  const quor_revision young = RevisionNow();
  const quor_revision young2 = RevisionNow();
  EXPECT_EQ(quor_revision_equal(&young, &young2), 0);
  usleep(150'000);
  const quor_revision old = RevisionNow();
  const quor_revision old2 = RevisionNow();
  EXPECT_EQ(quor_revision_equal(&old, &old2), 1);
  PutCatalogue("second");
  usleep(150'000);
  const quor_revision changed = RevisionNow();
  EXPECT_EQ(quor_revision_equal(&old, &changed), 0);
  const std::string store = host + "/config-store.cdb";
  const auto modified = fs::last_write_time(store);
  WriteFile(store, ReadFile(store));
  fs::last_write_time(store, modified);  // as a tool does that restores times
  usleep(150'000);
  const quor_revision restored = RevisionNow();
  EXPECT_EQ(quor_revision_equal(&changed, &restored), 0);
  fs::remove_all(host);
}

}  // namespace
}  // namespace CTest
