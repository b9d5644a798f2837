// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The parsed document of the process: kept while the file is the same, never longer.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <memory_resource>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "internals/opened_files.h"
#include "support.h"
#include "tree/document.h"
#include "tree/document_writer.h"

namespace ConfigFileTest {
namespace {

using ZynCtl::Config::NewestDocument;

constexpr long kDocumentSize = 100'000;          // at least
constexpr useconds_t kLongerThanATick = 20'000;  // of the clock of file times
constexpr long kNextToNothing = 500;             // the holder's name in the lock file is read

bool OpensTheFile(const std::function<void()>& call) {
  const Opened opened = OpenedBy(call);
  const bool openedIt =
      std::count(opened.names.begin(), opened.names.end(), "host-config.json") > 0;
  EXPECT_EQ(openedIt, opened.bytesRead >= kDocumentSize);
  EXPECT_TRUE(openedIt || opened.bytesRead < kNextToNothing) << opened.bytesRead;
  return openedIt;
}

class Cache : public HostTest {
 protected:
  Cache() {
    Put("ballast", std::string(kDocumentSize, 'x'));
    Put("key", "old");
    usleep(kLongerThanATick);
    Get("key");  // warm
  }
  // The document with another value of the same length.
  std::string Changed() const {
    std::string document = Document();
    document.replace(document.find("\"old\""), 5, "\"new\"");
    return document;
  }
};

TEST_F(Cache, WarmLookupOpensAndReadsNothingOfTheFile) {
  for (int i = 0; i < 3; ++i)
    EXPECT_FALSE(OpensTheFile([] { EXPECT_EQ(Get("key"), "old"); }));
}

TEST_F(Cache, ColdLookupReadsTheFileOnce) {
  ZynCtl::Config::ForgetNewestDocument();
  EXPECT_TRUE(OpensTheFile([] { EXPECT_EQ(Get("key"), "old"); }));
  EXPECT_FALSE(OpensTheFile([] { EXPECT_EQ(Get("key"), "old"); }));
}

TEST_F(Cache, GivesTheSameTreeToEverybody) {
  const auto document = NewestDocument();
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(NewestDocument(), document);
  std::thread([&] { EXPECT_EQ(NewestDocument()->root(), document->root()); }).join();
}

TEST_F(Cache, IsNotTouchedBySessionsThatChangeThingsAndDoNotWrite) {
  const auto document = NewestDocument();
  {
    const SynchronizedConfigFile locked;
    BranchOf(locked)->SetValue("key", "unwritten");
    BranchOf(locked)->GetArray("items")->NewInstance();
    locked.file->GetBranch("/")->RemoveAllChildren();
  }
  EXPECT_EQ(NewestDocument(), document);
  EXPECT_FALSE(OpensTheFile([] { EXPECT_EQ(Get("key"), "old"); }));
}

TEST_F(Cache, FollowsAFileThatIsRenamedOverIt) {
  ReplaceFile(FilePath(), Changed());
  EXPECT_TRUE(OpensTheFile([] { EXPECT_EQ(Get("key"), "new"); }));
}

TEST_F(Cache, FollowsAChangeInPlaceOfTheSameLength) {
  const std::string changed = Changed();
  usleep(kLongerThanATick);
  WriteFile(FilePath(), changed);
  EXPECT_TRUE(OpensTheFile([] { EXPECT_EQ(Get("key"), "new"); }));
}

// All of them within a second, on a file system that keeps no fractions.
TEST_F(Cache, FollowsChangesInPlaceOfTheSameLengthWhereTimesAreCoarse) {
  const WholeSeconds coarse;
  const std::string old = Document();
  const std::string changed = Changed();
  for (int i = 0; i < 100; ++i) {
    WriteFile(FilePath(), old);
    EXPECT_EQ(Get("key"), "old");
    usleep(kLongerThanATick);
    WriteFile(FilePath(), changed);
    EXPECT_EQ(Get("key"), "new");
  }
}

// On most file systems the file that is renamed over it has the inode of the one before the last,
// and the times are the same.
TEST_F(Cache, FollowsAReusedInodeWhereTimesAreCoarse) {
  const WholeSeconds coarse;
  for (int i = 0; i < 100; ++i) {
    Put("key", "one");
    EXPECT_EQ(Get("key"), "one");
    RunInChild([] { Put("key", "two"); });
    RunInChild([] { Put("key", "six"); });
    ASSERT_EQ(Get("key"), "six") << i;
  }
}

// Nor does a session write over it: what it has read is compared with what the file holds.
TEST_F(Cache, ChangeByHandInTheSameCoarseTimeIsNotOverwritten) {
  const WholeSeconds coarse;
  WriteFile(FilePath(), Document());
  const std::string changed = Changed();
  const SynchronizedConfigFile locked;
  BranchOf(locked)->SetValue("other", "1");
  WriteFile(FilePath(), changed);
  EXPECT_TRUE(Contains(MessageOf([&] { locked.file->Write(); }), "changed by hand"));
  EXPECT_EQ(Document(), changed);
}

TEST_F(Cache, IsKeptOnceCoarseTimesArePast) {
  const WholeSeconds coarse;
  WriteFile(FilePath(), Changed());
  EXPECT_EQ(Get("key"), "new");
  const auto* const root = NewestDocument()->root();
  EXPECT_TRUE(OpensTheFile([] { EXPECT_EQ(Get("key"), "new"); }));
  sleep(4);
  EXPECT_EQ(Get("key"), "new");
  EXPECT_FALSE(OpensTheFile([] { EXPECT_EQ(Get("key"), "new"); }));
  EXPECT_EQ(NewestDocument()->root(), root);
}

// The document outlives whatever memory is the program's default at the moment.
TEST_F(Cache, DoesNotLieInTheMemoryThatIsTheDefaultJustNow) {
  WriteFile(FilePath(), Changed());
  usleep(kLongerThanATick);
  {
    std::vector<char> arena(1 << 20);
    std::pmr::monotonic_buffer_resource own(arena.data(), arena.size(),
                                            std::pmr::null_memory_resource());
    std::pmr::memory_resource* const before = std::pmr::set_default_resource(&own);
    EXPECT_EQ(Get("key"), "new");
    std::pmr::set_default_resource(before);
    EXPECT_TRUE(std::all_of(arena.begin(), arena.end(), [](char c) { return c == 0; }));
  }
  EXPECT_EQ(Get("key"), "new");
}

// Each keeps what it has written, and no more.
TEST_F(Cache, ManyWritesOfOneSessionDoNotPileUp) {
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 100; ++i) {
      branch->SetValue("key", std::to_string(i));
      locked.file->Write();
    }
    EXPECT_LT(mallinfo2().uordblks, before + 20 * kDocumentSize);
  }
  EXPECT_EQ(Get("key"), "99");
}

// Some of them within one tick of the clock, where the kernel has no finer times.
TEST_F(Cache, FollowsQuickChangesInPlaceOfTheSameLength) {
  const std::string old = Document();
  const std::string changed = Changed();
  for (int i = 0; i < 200; ++i) {
    WriteFile(FilePath(), old);
    EXPECT_EQ(Get("key"), "old");
    WriteFile(FilePath(), changed);
    EXPECT_EQ(Get("key"), "new");
  }
}

TEST_F(Cache, FollowsAChangeWhoseTimeWasPutBack) {
  const struct stat before = StatusOf(FilePath());
  usleep(kLongerThanATick);
  WriteFile(FilePath(), Changed());
  const struct timespec times[] = {before.st_atim, before.st_mtim};
  ASSERT_EQ(utimensat(AT_FDCWD, FilePath().c_str(), times, 0), 0);
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(Cache, FollowsAnotherProcess) {
  RunInChild([] { Put("key", "new"); });
  EXPECT_TRUE(OpensTheFile([] { EXPECT_EQ(Get("key"), "new"); }));
}

TEST_F(Cache, RaisesWhereTheFileIsGoneUntilItReturns) {
  const std::string document = Document();
  ASSERT_EQ(unlink(FilePath().c_str()), 0);
  for (int i = 0; i < 2; ++i)
    EXPECT_TRUE(Contains(MessageOf([] { Get("key"); }), FilePath() + ": it is gone"));
  EXPECT_TRUE(Contains(MessageOf([] { Put("key", "new"); }), FilePath() + ": it is gone"));
  EXPECT_FALSE(Exists(FilePath()));
  WriteFile(FilePath(), document);
  EXPECT_EQ(Get("key"), "old");
}

TEST_F(Cache, DoesNotAnswerForADocumentThatIsRefusedNow) {
  EditByHand("{");
  EXPECT_NE(MessageOf([] { Get("key"); }), kNothingRaised);
  EXPECT_NE(MessageOf([] { Get("key"); }), kNothingRaised);
}

TEST_F(Cache, FollowsToAnotherHostDirectory) {
  HostPlatform::UseHostDirectory(temporary_.PathOf("elsewhere"));
  EXPECT_EQ(Get("key"), std::nullopt);
  HostPlatform::UseHostDirectory(HostPath());
  EXPECT_EQ(Get("key"), "old");
}

TEST_F(Cache, OfAForkedChildStartsAfreshAndFollows) {
  const auto document = NewestDocument();
  RunInChild([&] {
    EXPECT_EQ(Get("key"), "old");
    EXPECT_FALSE(OpensTheFile([] { EXPECT_EQ(Get("key"), "old"); }));
    RunInChild([] { Put("key", "new"); });
    EXPECT_EQ(Get("key"), "new");
  });
  EXPECT_EQ(Get("key"), "new");
}

// A daemon that closes all descriptors would leave the number of ours to somebody else's file.
TEST_F(Cache, KeepsNoDescriptor) {
  const auto descriptors = [] { return NamesIn("/proc/self/fd").size(); };
  ZynCtl::Config::ForgetNewestDocument();
  const std::size_t before = descriptors();
  for (int i = 0; i < 20; ++i) {
    Put("key", std::to_string(i));
    Get("key");
  }
  EXPECT_EQ(descriptors(), before);
}

TEST_F(Cache, TreeOfAnOldDocumentStaysAsItWasWhileItIsHeld) {
  const auto document = NewestDocument();
  Put("key", "new");
  EXPECT_EQ(Get("key"), "new");
  const auto* const host = FindChild(*document->root(), "Host");
  const auto* const test = FindChild(*host, "Test");
  EXPECT_EQ(FindChild(*test, "key")->text, "old");
}

// The document as the process holds it, in the form of the file.
std::string TextOfTree() {
  std::string text;
  ZynCtl::Config::WriteDocument(*NewestDocument()->root(),
                                [&](std::string_view piece) { text += piece; });
  return text;
}

TEST_F(Cache, HoldsTheTreeThatTheProcessWroteItself) {
  Put("key", "new");
  const auto* const root = NewestDocument()->root();
  usleep(kLongerThanATick);
  EXPECT_EQ(Get("key"), "new");  // is it still the same?
  EXPECT_EQ(NewestDocument()->root(), root);
  EXPECT_FALSE(OpensTheFile([] { EXPECT_EQ(Get("key"), "new"); }));
  RunInChild([] { Put("key", "newer"); });
  EXPECT_EQ(Get("key"), "newer");
  EXPECT_NE(NewestDocument()->root(), root);
}

TEST_F(Cache, FollowsAChangeInPlaceOfTheSameLengthRightAfterItsOwnWrite) {
  for (int i = 0; i < 100; ++i) {
    Put("key", "old");
    WriteFile(FilePath(), Changed());
    EXPECT_EQ(Get("key"), "new");
  }
}

TEST_F(Cache, IsNotTouchedByWhatASessionChangesAfterItHasWritten) {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  const auto item = branch->GetArray("items")->NewInstance();
  item->SetValue("key", "written");
  locked.file->Write();
  const auto* const root = NewestDocument()->root();
  const std::string written = TextOfTree();
  item->SetValue("key", "unwritten");
  branch->GetArray("items")->NewInstance();
  locked.file->GetBranch("/")->RemoveAllChildren();
  EXPECT_EQ(NewestDocument()->root(), root);
  EXPECT_EQ(TextOfTree(), written);
  locked.file->Write();
  EXPECT_EQ(TextOfTree(), "{}\n");
  EXPECT_EQ(Document(), "{}\n");
}

TEST_F(Cache, TreeThatWasWrittenIsTheOneThatIsReadAnew) {
  const unsigned seed = testing::UnitTest::GetInstance()->random_seed();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto below = [&](unsigned limit) { return static_cast<unsigned>(random()) % limit; };
  const auto name = [&] { return std::string(1, static_cast<char>('a' + below(4))); };
  EditByHand(R"({"n": -1.50e+3, "x": [null, {"\u00e4\n": true}], "Host": {"Test": {}}})");
  for (int round = 0; round < 300; ++round) {
    {
      const SynchronizedConfigFile locked;
      for (unsigned i = below(4); i != 0; --i) {
        const auto branch = locked.file->GetBranch("/Host/Test/b" + name());
        if (below(10) == 0) branch->RemoveAllChildren();
        branch->SetValue(name(), std::string(below(40), static_cast<char>(below(256))));
        branch->GetArray("array" + name())->NewInstance()->SetValue(name(), 1UL + below(9));
      }
      locked.file->Write();
    }
    const std::string held = TextOfTree();
    ASSERT_EQ(held, Document());
    if (below(3) == 0) {
      ZynCtl::Config::ForgetNewestDocument();
      ASSERT_EQ(TextOfTree(), held);
    }
  }
}

TEST_F(Cache, IsSharedByThreadsWhileTheFileChanges) {
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        const auto document = NewestDocument();
        EXPECT_NE(FindChild(*document->root(), "Host"), nullptr);
      }
    });
  }
  for (int i = 0; i < 50; ++i)
    Put("key", std::to_string(i));
  stop = true;
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace
}  // namespace ConfigFileTest
