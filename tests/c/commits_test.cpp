// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Commits by other processes, in bursts: the last state of each burst is noticed, and no commit is
// more than one wake-up.
#include <unistd.h>

#include <array>

#include "changes_support.h"
#include "support/child_process.h"

namespace CTest {
namespace {

constexpr int kWriters = 2;
constexpr int kMostInBurst = 4;

class Pipe {
 public:
  Pipe() { EXPECT_EQ(pipe(ends_.data()), 0); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    close(ends_[0]);
    close(ends_[1]);
  }
  int reading() const { return ends_[0]; }
  void Put(int number) const { EXPECT_EQ(write(ends_[1], &number, sizeof number), kSize); }
  bool Get(int* number) const { return read(ends_[0], number, sizeof *number) == kSize; }

 private:
  static constexpr ssize_t kSize = sizeof(int);
  std::array<int, 2> ends_;
};

std::string Stored() {
  quor_bytes blob;
  EXPECT_EQ(quor_rilk_blob_by_name("Gold", 4, &blob, nullptr), QUOR_OK);
  return Take(&blob);
}

void CommitPolicy(int number) {
  quor_policies* const list = quor_policies_new();
  quor_policy* const policy = quor_policies_add(list);
  const std::string blob = std::to_string(number);
  quor_policy_set_name(policy, "Gold", QUOR_TERMINATED);
  quor_policy_add_blob(policy, "RILK", 4, blob.data(), blob.size());
  EXPECT_EQ(quor_policies_replace(list, nullptr), QUOR_OK);
  quor_policies_free(list);
}

class Commits : public InBothStores {
 protected:
  void Run(int commits) {
    HostPlatform::SetFeature(kStoreSwitch, GetParam());
    CommitPolicy(-1);
    const Pipe orders;
    const Pipe done;
    const auto commit = [&] {
      for (int number = 0; orders.Get(&number) && number >= 0;) {
        CommitPolicy(number);
        done.Put(number);
      }
    };
    PlatformTest::ChildProcess first(commit);
    PlatformTest::ChildProcess second(commit);
    const Noticed changes;
    std::string seen = Stored();
    int wakeUps = 0;
    for (int made = 0; made < commits;) {
      const int burst = std::min(1 + made % kMostInBurst, commits - made);
      for (int i = 0; i < burst; ++i) {
        orders.Put(made + i);
      }
      for (int left = burst; left > 0;) {
        std::array<pollfd, 2> wanted = {pollfd{changes.descriptor(), POLLIN, 0},
                                        pollfd{done.reading(), POLLIN, 0}};
        ASSERT_GT(poll(wanted.data(), wanted.size(), 30'000), 0);
        if (wanted[0].revents != 0) Look(changes, &seen, &wakeUps);
        int number;
        if (wanted[1].revents != 0 && done.Get(&number)) --left;
      }
      while (changes.Waits(0)) {
        Look(changes, &seen, &wakeUps);
      }
      ASSERT_EQ(seen, Stored()) << "after " << made << " commits";
      made += burst;
    }
    for (int i = 0; i < kWriters; ++i) {
      orders.Put(-1);
    }
    EXPECT_TRUE(first.Succeeds());
    EXPECT_TRUE(second.Succeeds());
    EXPECT_LE(wakeUps, commits);
    EXPECT_GE(wakeUps, commits / kMostInBurst);
    std::printf("%d commits, %d wake-ups\n", commits, wakeUps);
  }

 private:
  static void Look(const Noticed& changes, std::string* seen, int* wakeUps) {
    ++*wakeUps;
    EXPECT_NE(changes.Read(), 0U);
    *seen = Stored();
  }
};
INSTANTIATE_TEST_SUITE_P(, Commits, testing::Bool(), NameOfStore);

TEST_P(Commits, NoneIsMissedAsTheLastState) {
  Run(200);
}

class LongCommits : public Commits {};
INSTANTIATE_TEST_SUITE_P(, LongCommits, testing::Bool(), NameOfStore);

TEST_P(LongCommits, NoneOfTenThousandIsMissedAsTheLastState) {
  Run(10'000);
}

}  // namespace
}  // namespace CTest
