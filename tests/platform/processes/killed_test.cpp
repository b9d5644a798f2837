// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Processes that are killed at any moment: the next call works, and nothing is half done.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <string>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/random.h"
#include "support/shared.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

// What a writer noted before it was killed, in memory that it shares with the test.
struct Notes {
  std::atomic<int> begun{0};  // the number it was about to commit
  std::atomic<int> done{0};   // the last number whose commit returned
};

constexpr int kObjects = 8;
constexpr unsigned kShortestLife = 4000;  // us, of a writer at most
constexpr unsigned kStep = 500;

class KilledWriter : public HostTest {
 protected:
  // Commits states in which every object bears the same number.
  static void WriteForEver(Notes* notes) {
    const std::string filling(3000, 'x');
    for (int number = notes->done + 1;; ++number) {
      notes->begun = number;
      const Store store = OpenStore();
      store->BeginTransaction();
      store->DeleteObjects(All());
      for (int i = 0; i < kObjects; ++i) {
        Put(store, std::to_string(i), std::to_string(number) + ' ' + filling);
      }
      store->CommitTransaction();
      notes->done = number;
    }
  }

  // The number that the stored state bears; 0 when nothing is stored.
  static int StoredNumber() {
    const Texts texts = List(OpenStore());
    if (texts.empty()) return 0;
    EXPECT_EQ(texts, Texts(kObjects, texts.front())) << "a mixture of two states";
    return std::stoi(texts.front());
  }

  std::size_t Temporaries() const {
    std::size_t count = 0;
    for (const std::string& name : NamesIn(HostPath())) {
      if (name.find(".new-") != std::string::npos) ++count;
    }
    return count;
  }

  void KillOften(std::uint64_t seed, int times) {
    Random random(seed);
    HostPlatform::UseLockTimeout(5000);
    unsigned longest = kShortestLife;
    for (int i = 0; i < times && !HasFailure(); ++i) {
      SCOPED_TRACE("kill " + std::to_string(i));
      ChildProcess writer([this] { WriteForEver(&*notes_); });
      const int doneBefore = notes_->done;
      usleep(static_cast<useconds_t>(random.Below(longest)));
      writer.Kill();
      // As long as half of the writers need for a commit, on this machine.
      longest =
          notes_->done == doneBefore ? longest + kStep : std::max(longest - kStep, kShortestLife);
      const int number = StoredNumber();
      EXPECT_GE(number, notes_->done) << "a commit that had returned is lost";
      EXPECT_LE(number, notes_->begun);
      notes_->done = number;
      ASSERT_EQ(CodeOf([] { Put(OpenStore(), "0", "after", kOtherKind); }), kNothing);
      EXPECT_EQ(Temporaries(), 0U) << "what the killed writer left is swept by the next commit";
      EXPECT_EQ(StoredNumber(), number);
    }
    EXPECT_GT(notes_->done, times / 10) << "most writers were killed before they did anything";
  }

  Shared<Notes> notes_;
};

using LongKilledWriter = KilledWriter;

TEST_F(KilledWriter, LeavesTheOldStateOrTheNewAndNoLock) {
  KillOften(SeedOfThisRun(), 200);
}

TEST_F(LongKilledWriter, LeavesTheOldStateOrTheNewAndNoLock) {
  KillOften(SeedOfThisRun(), 10'000);
}

TEST_F(KilledWriter, WithinATransactionLeavesNothingOfIt) {
  Put(OpenStore(), "a", "old");
  Gate written;
  ChildProcess writer([&] {
    const Store store = OpenStore();
    store->BeginTransaction();
    Put(store, "a", "new");
    written.Open();
    pause();
  });
  ASSERT_TRUE(written.Wait());
  writer.Kill();
  EXPECT_EQ(Get(OpenStore(), "a"), "old");
  HostPlatform::UseLockTimeout(0);
  EXPECT_EQ(WriteCode(), kNothing);
}

// Readers take no lock and no slot, so that none can be left behind.

class KilledReaders : public HostTest {
 protected:
  void KillOften(int times) {
    Put(OpenStore(), "a", "1");
    for (int i = 0; i < times; ++i) {
      Gate reading;
      ChildProcess reader([&] {
        reading.Open();
        for (;;)
          Get(OpenStore(), "a");
      });
      ASSERT_TRUE(reading.Wait());
      reader.Kill();
    }
    HostPlatform::UseLockTimeout(0);
    EXPECT_EQ(WriteCode(), kNothing);
    EXPECT_EQ(Get(OpenStore(), "a"), "1");
    EXPECT_EQ(NamesIn(HostPath()), (Texts{"config-store.cdb", "config-store.lock", "features"}));
  }
};

using LongKilledReaders = KilledReaders;

TEST_F(KilledReaders, LeakNothingThatLaterReadersOrWritersNeed) {
  KillOften(500);
}

TEST_F(LongKilledReaders, LeakNothingThatLaterReadersOrWritersNeedAfter10000) {
  KillOften(10'000);
}

}  // namespace
}  // namespace PlatformTest
