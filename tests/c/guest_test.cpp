// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The library's manners in a host's process: errno, cancelled threads, descriptors, fork, misuse.
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "changes_support.h"
#include "support/child_process.h"

namespace CTest {
namespace {

namespace fs = std::filesystem;
using PlatformTest::ReadFile;
using PlatformTest::ReplaceFile;

class Guest : public InBothStores {
 protected:
  Guest() { PutCatalogue("b"); }

  // Calls that stand for all: each goes through other system calls.
  std::vector<std::function<quor_status()>> Calls() const {
    return {
        [] {
          quor_bytes blob;
          const quor_status status = quor_rilk_blob_by_name("Gold", 4, &blob, nullptr);
          quor_bytes_free(&blob);
          return status;
        },
        [] {
          quor_policies* list;
          quor_status status = quor_policies_list(&list, nullptr);
          if (status == QUOR_OK) status = quor_policies_replace(list, nullptr);
          quor_policies_free(list);
          return status;
        },
        [] {
          quor_digests digests;
          return quor_digests_get(&digests, nullptr);
        },
        [] {
          quor_revision revision;
          return quor_revision_get(&revision, nullptr);
        },
        [this] {
          quor_changes* changes;
          quor_status status = quor_changes_open(PathOf("").c_str(), &changes, nullptr);
          if (status == QUOR_OK) status = quor_policies_replace(nullptr, nullptr);
          if (status == QUOR_OK) status = quor_changes_read(changes, nullptr, nullptr);
          quor_changes_close(changes);
          return status;
        },
    };
  }
};
INSTANTIATE_TEST_SUITE_P(, Guest, testing::Bool(), NameOfStore);

struct Cancelled {
  std::function<quor_status()> call;
  bool returned = false;
  int state = PTHREAD_CANCEL_DISABLE;
};

// The stack is not unwound in the end: a sanitizer would take it for one that is in use.
void* CallWhileCancelled(void* data) {
  auto* const cancelled = static_cast<Cancelled*>(data);
  pthread_cancel(pthread_self());  // takes effect at the next cancellation point
  cancelled->returned = cancelled->call() == QUOR_OK;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelled->state);
  return nullptr;
}

TEST_P(Guest, AThreadIsNotCancelledWithinACallAndMayBeBehindIt) {
  for (const auto& call : Calls()) {
    Cancelled cancelled{call};
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, CallWhileCancelled, &cancelled), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_TRUE(cancelled.returned);
    EXPECT_EQ(cancelled.state, PTHREAD_CANCEL_ENABLE);
  }
}

TEST_P(Guest, ErrnoIsLeftAsItWas) {
  for (const auto& call : Calls()) {
    errno = 4711;
    EXPECT_EQ(call(), QUOR_OK);
    EXPECT_EQ(errno, 4711);
  }
  quor_changes* changes;
  errno = 4711;
  EXPECT_EQ(quor_changes_open("relative", &changes, nullptr), QUOR_USAGE);
  EXPECT_EQ(quor_changes_open("/nowhere/at/all", &changes, nullptr), QUOR_OK);
  EXPECT_EQ(quor_changes_read(changes, nullptr, nullptr), QUOR_OK);
  quor_changes_close(changes);
  EXPECT_EQ(errno, 4711);
}

class GuestOfAStore : public CInterface {
 protected:
  GuestOfAStore() {
    UseStore(true);
    PutCatalogue("b");
  }
};

TEST_F(GuestOfAStore, EveryDescriptorIsClosedByExec) {
  const Noticed changes;
  quor_policies_replace(nullptr, nullptr);
  changes.Read();
  int number = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename());
    std::error_code error;
    const std::string target = fs::read_symlink(entry.path(), error);
    if (target.find("anon_inode") == target.npos) continue;
    ++number;
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC) << target;
  }
  EXPECT_GE(number, 2);  // epoll and inotify
}

TEST_F(GuestOfAStore, AChildThatReadsItsCopyIsRefusedAndTakesNothing) {
  const Noticed changes;
  ASSERT_EQ(quor_policies_replace(nullptr, nullptr), QUOR_OK);
  PlatformTest::ChildProcess child([&] {
    quor_changes* const copy = changes.get();
    quor_error* error;
    EXPECT_EQ(quor_changes_read(copy, nullptr, &error), QUOR_USAGE);
    EXPECT_EQ(Failure(error).message,
              "these changes are another process's, which forked; open some here");
    quor_changes_close(copy);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  });
  EXPECT_TRUE(child.Succeeds());
  ASSERT_TRUE(changes.Waits(1000));
  EXPECT_EQ(changes.Read(), QUOR_CHANGED_STORE);
  ReplaceFile(PathOf("config-store.cdb"), ReadFile(PathOf("config-store.cdb")));
  EXPECT_TRUE(changes.Waits(1000));
}

TEST(GuestMisuse, ARecordThatThereWasNoMemoryForIsWrongUse) {
  EXPECT_EQ(quor_policies_add(nullptr), nullptr);
  EXPECT_EQ(quor_policy_set_id(nullptr, "a", 1), QUOR_USAGE);
  EXPECT_EQ(quor_policy_set_name(nullptr, "a", 1), QUOR_USAGE);
  EXPECT_EQ(quor_policy_set_description(nullptr, "a", 1), QUOR_USAGE);
  EXPECT_EQ(quor_policy_add_blob(nullptr, "a", 1, "b", 1), QUOR_USAGE);
  quor_policy_set_generation(nullptr, 1);
  EXPECT_EQ(quor_datastores_add(nullptr), nullptr);
  EXPECT_EQ(quor_datastore_set_url(nullptr, "a", 1), QUOR_USAGE);
  EXPECT_EQ(quor_datastore_set_namespace(nullptr, "a", 1), QUOR_USAGE);
  EXPECT_EQ(quor_datastore_set_default_policy(nullptr, "a", 1), QUOR_USAGE);
}

TEST(GuestMisuse, NoListIsAnEmptyOne) {
  EXPECT_EQ(quor_policies_count(nullptr), 0U);
  EXPECT_EQ(quor_policies_at(nullptr, 0), nullptr);
  quor_policies_free(nullptr);
  EXPECT_EQ(quor_datastores_count(nullptr), 0U);
  EXPECT_EQ(quor_datastores_at(nullptr, 0), nullptr);
  quor_datastores_free(nullptr);
}

TEST(GuestMisuse, NoChangesAreWrongUse) {
  unsigned number = 1;
  EXPECT_EQ(quor_changes_read(nullptr, &number, nullptr), QUOR_USAGE);
  EXPECT_EQ(number, 0U);
  EXPECT_EQ(quor_changes_digests(nullptr, &number, nullptr), QUOR_USAGE);
  EXPECT_EQ(quor_changes_descriptor(nullptr), -1);
  EXPECT_STREQ(quor_changes_fallback(nullptr), "");
}

}  // namespace
}  // namespace CTest
