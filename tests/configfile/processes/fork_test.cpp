// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Forks: a child has nothing of its parent's session.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "processes/locked_allocations.h"
#include "support.h"

namespace ConfigFileTest {
namespace {

class Fork : public HostTest {
 protected:
  Fork() {
    Put("key", "old");
    HostPlatform::UseLockTimeout(200);
#ifdef __SANITIZE_ADDRESS__
    // A lock of the sanitizer's allocator that another thread holds at a fork stays locked in the
    // child.
    LockAllocationsAroundForks();
#endif
  }
};

// What is destroyed before the handler runs was made after it was registered: all that the first
// lookup of the process makes.
TEST_F(Fork, ChildReadsAChangedFileInAnExitHandler) {
  RunInChild([this] {
    static std::string path;
    path = FilePath();
    ASSERT_EQ(std::atexit([] {
                WriteFile(path,
                          R"({"Host": {"Test": {"key": "n\u00e4w", "raw": "\u0000base64:/w=="}}})");
                const bool good = Get("key") == "n\xc3\xa4w" && Get("raw") == "\xff";
                Put("key", "\xc3\xa4");
                _exit(good && Get("key") == "\xc3\xa4" ? 0 : 1);
              }),
              0);
    ASSERT_EQ(Get("key"), "old");
    WriteFile(path, R"({"Host": {"Test": {"key": "mid"}}})");
    ASSERT_EQ(Get("key"), "mid");
    std::exit(2);
  });
}

TEST_F(Fork, ChildCannotChangeOrWriteThroughItsParentsSession) {
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    branch->SetValue("key", "of the parent");
    RunInChild([&] {
      EXPECT_NE(MessageOf([&] { branch->SetValue("key", "of the child"); }), kNothingRaised);
      EXPECT_NE(MessageOf([&] { branch->RemoveAllChildren(); }), kNothingRaised);
      EXPECT_NE(MessageOf([&] { branch->GetArray("items")->NewInstance(); }), kNothingRaised);
      EXPECT_NE(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
    });
    EXPECT_TRUE(Contains(Document(), "\"key\": \"old\""));
    locked.file->Write();
  }
  EXPECT_EQ(Get("key"), "of the parent");
}

// The session is the parent's alone, also when the parent is done with it or was killed.
TEST_F(Fork, ChildCannotChangeOrWriteAfterItsParentHasUnlocked) {
  Gate unlocked;
  std::unique_ptr<ChildProcess> child;
  {
    const SynchronizedConfigFile locked;
    const auto branch = BranchOf(locked);
    branch->SetValue("key", "never written");
    child = std::make_unique<ChildProcess>([&] {
      ASSERT_TRUE(unlocked.Wait());
      EXPECT_NE(MessageOf([&] { branch->SetValue("other", "of the child"); }), kNothingRaised);
      EXPECT_NE(MessageOf([&] { locked.file->Write(); }), kNothingRaised);
    });
  }
  unlocked.Open();
  EXPECT_TRUE(child->Succeeds());
  EXPECT_EQ(Get("key"), "old");
  EXPECT_EQ(Get("other"), std::nullopt);
}

TEST_F(Fork, ChildIsRefusedAtOnceAndDoesNotWaitForTheDeadline) {
  HostPlatform::UseLockTimeout(6'000);
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  RunInChild([&] {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NE(MessageOf([&] { branch->SetValue("key", "of the child"); }), kNothingRaised);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  });
}

TEST_F(Fork, ChildThatEndsItsParentsSessionDoesNotReleaseTheLock) {
  auto locked = std::make_unique<SynchronizedConfigFile>();
  RunInChild([&] { locked.reset(); });
  RunInChild([] {
    HostPlatform::UseLockTimeout(0);
    EXPECT_TRUE(Contains(MessageOf([] { Get("key"); }), "still locked"));
  });
  BranchOf(*locked)->SetValue("key", "new");
  locked->file->Write();
  locked.reset();
  EXPECT_EQ(Get("key"), "new");
}

TEST_F(Fork, ChildDoesNotKeepTheLockOfAParentThatIsDone) {
  Gate forked;
  Gate done;
  std::unique_ptr<ChildProcess> child;
  {
    const SynchronizedConfigFile locked;
    child = std::make_unique<ChildProcess>([&] {
      forked.Open();
      EXPECT_TRUE(done.Wait());
    });
    ASSERT_TRUE(forked.Wait());
  }
  EXPECT_EQ(Get("key"), "old");
  Put("key", "new");
  done.Open();
  EXPECT_TRUE(child->Succeeds());
}

TEST_F(Fork, ChildWorksWithSessionsOfItsOwn) {
  EXPECT_EQ(Get("key"), "old");
  RunInChild([] {
    EXPECT_EQ(Get("key"), "old");
    Put("key", "of the child");
    EXPECT_EQ(Get("key"), "of the child");
    RunInChild([] { EXPECT_EQ(Get("key"), "of the child"); });
  });
  EXPECT_EQ(Get("key"), "of the child");
}

TEST_F(Fork, ChildReadsWhatItsParentHadReadAlready) {
  const SynchronizedConfigFile locked;
  const auto branch = BranchOf(locked);
  RunInChild([&] {
    std::string value;
    EXPECT_TRUE(branch->GetValue("key", &value));
    EXPECT_EQ(value, "old");
  });
}

// Reads the file again and again, as if it had changed, until it is destroyed.
class Reader {
 public:
  explicit Reader(const std::string& path)
      : thread_([path](const std::stop_token& stop) {
          while (!stop.stop_requested()) {
            utimensat(AT_FDCWD, path.c_str(), nullptr, 0);
            Get("key");
          }
        }) {}

 private:
  std::jthread thread_;
};

std::string LargeDocument() {
  std::string document = R"({"Host": {"Test": {"key": "old", "items": [)";
  for (int i = 0; i < 20'000; ++i)
    document += R"({"name": {"inner": ["text", {}]}},)";
  return document + "{}]}}}";
}

// The parser of the parent is in the middle of a document, and nobody goes on with it here.
TEST_F(Fork, InTheMiddleOfADocumentLeavesChildrenThatParse) {
  HostPlatform::UseLockTimeout(60'000);
  EditByHand(LargeDocument());
  const Reader reader(FilePath());
  for (int i = 0; i < 10; ++i) {
    RunInChild([&] {
      alarm(60);
      EditByHand(R"({"Host": {"Test": {"key": "of a child"}}})");
      EXPECT_EQ(Get("key"), "of a child");
      EditByHand(LargeDocument());
      EXPECT_EQ(Get("key"), "old");
      RunInChild([] { EXPECT_EQ(Get("key"), "old"); });
    });
  }
}

// As a program's own allocator may do: it has a lock, and takes it around forks.
TEST_F(Fork, DoesNotWaitForAnAllocationThatWaitsForTheFork) {
  HostPlatform::UseLockTimeout(60'000);
  EditByHand(LargeDocument());
  RunInChild([this] {
    alarm(60);
    EXPECT_EQ(Get("key"), "old");  // there is a parser then
    LockAllocationsAroundForks();
    const Reader reader(FilePath());
    for (int i = 0; i < 200; ++i) {
      ChildProcess child([] {});
      EXPECT_TRUE(child.Succeeds());
    }
  });
}

TEST_F(Fork, InTheMiddleOfOtherThreadsCallsLeavesChildrenThatWork) {
  HostPlatform::UseLockTimeout(60'000);
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&, i] {
      while (!stop) {
        Put("key", std::to_string(i));
        Get("key");
      }
    });
  }
  for (int i = 0; i < 30; ++i) {
    ChildProcess child([] {
      EXPECT_NE(Get("key"), std::nullopt);
      Put("of a child", "1");
    });
    EXPECT_TRUE(child.Succeeds());
  }
  stop = true;
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(Get("of a child"), "1");
}

}  // namespace
}  // namespace ConfigFileTest
