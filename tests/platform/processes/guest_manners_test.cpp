// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the platform leaves alone in the process that it lives in: descriptors, signals, errno.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/host_test.h"
#include "support/program.h"

namespace PlatformTest {
namespace {

using namespace TavConfigStore;  // NOLINT(google-build-using-namespace): the error codes

class Descriptors : public HostTest {
 protected:
  // Open descriptors of this process, those into the host directory only or all.
  std::vector<int> Open(bool ofHostOnly) const {
    std::vector<int> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;  // the one that lists them
      const std::string target = std::filesystem::read_symlink(entry.path(), gone);
      if (gone || target.find("/proc/") == 0) continue;
      if (ofHostOnly && target.find(HostPath()) != 0) continue;
      descriptors.push_back(std::stoi(entry.path().filename()));
    }
    return descriptors;
  }
  std::vector<int> OfHost() const { return Open(true); }

  // Writes to the standard streams as a program does that does not know that they are closed.
  static void PrintStrayMessages() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      EXPECT_LT(write(stream, "stray message", 13), 0);
    }
  }
};

TEST_F(Descriptors, AreAboveTheStandardStreamsSoThatStrayMessagesDoNotReachTheStore) {
  Put(OpenStore(), "a", "old");
  RunInChild([this] {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      close(stream);
    const Store store = OpenStore();
    PrintStrayMessages();
    store->BeginTransaction();
    PrintStrayMessages();
    const auto open = OfHost();
    EXPECT_GE(open.size(), 2U) << "the directory and the lock";
    for (const int descriptor : open)
      EXPECT_GT(descriptor, STDERR_FILENO);
    Put(store, "a", "new");
    store->CommitTransaction();
    PrintStrayMessages();
    HostPlatform::SetFeature(9, true);
    PrintStrayMessages();
  });
  EXPECT_EQ(Get(OpenStore(), "a"), "new");
  for (const std::string& name : NamesIn(HostPath())) {
    EXPECT_EQ(ReadFile(PathOf(name)).find("stray"), std::string::npos) << name;
  }
}

TEST_F(Descriptors, AreAboveTheStandardStreamsWhicheverOfThemIsClosed) {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    RunInChild([this, stream] {
      close(stream);
      const Store store = OpenStore();
      store->BeginTransaction();
      for (const int descriptor : OfHost())
        EXPECT_GT(descriptor, STDERR_FILENO);
      Put(store, std::to_string(stream), "text");
      store->CommitTransaction();
      EXPECT_LT(fcntl(stream, F_GETFD), 0) << "still closed";
    });
  }
  EXPECT_EQ(List(OpenStore()), (Texts{"text", "text", "text"}));
}

TEST_F(Descriptors, AreCloseOnExec) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  store->BeginTransaction();
  const auto open = OfHost();
  EXPECT_GE(open.size(), 2U);
  for (const int descriptor : open)
    EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << descriptor;
}

TEST_F(Descriptors, AreNotInheritedByAProgramThatIsStartedMeanwhile) {
  const Store store = OpenStore();
  store->BeginTransaction();
  Put(store, "a", "1");
  const std::string output = OutputOf({PLATFORM_PROBE, "descriptors"});
  EXPECT_GE(Lines(output).size(), 3U) << "the standard streams";
  EXPECT_EQ(output.find(HostPath()), std::string::npos) << output;
}

TEST_F(Descriptors, AreNotKeptByReaders) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  const Object fetched = store->GetObject(IdOf("a"));
  EXPECT_EQ(TextOf(fetched), "1");
  EXPECT_EQ(OfHost(), std::vector<int>());
}

TEST_F(Descriptors, AreNotLeakedByWhateverSucceedsOrFails) {
  Put(OpenStore(), "a", "1");
  const auto before = Open(false);
  for (int i = 0; i < 20; ++i) {
    Put(OpenStore(), "a", "2");
    Get(OpenStore(), "a");
    HostPlatform::SetFeature(9, true);
    HostPlatform::GetConfigStoreState();
    const Store store = OpenStore();
    store->BeginTransaction();
    HostPlatform::UseLockTimeout(0);
    EXPECT_EQ(WriteCode(), kBusy);
    store->RollbackTransaction();
    const std::string good = ReadFile(SnapshotPath());
    ReplaceFile(SnapshotPath(), "damaged");
    EXPECT_EQ(OpenCode(), kCorrupt);
    EXPECT_EQ(WriteCode(), kCorrupt);
    ReplaceFile(SnapshotPath(), good);
  }
  EXPECT_EQ(Open(false), before);
}

// errno

class Errno : public HostTest {
 protected:
  template <typename Call>
  static void ExpectKept(Call call, CSErrorCodes expected = kNothing) {
    int after = 0;
    EXPECT_EQ(CodeOf([&] {
                errno = 4711;
                try {
                  call();
                } catch (...) {
                  after = errno;
                  throw;
                }
                after = errno;
              }),
              expected);
    EXPECT_EQ(after, 4711);
  }
};

TEST_F(Errno, IsKeptByCallsThatSucceed) {
  ExpectKept([] { OpenStore(); });
  ExpectKept([] { List(OpenStore()); });
  ExpectKept([] { Put(OpenStore(), "a", "1"); });
  ExpectKept([] { Get(OpenStore(), "a"); });
  ExpectKept([] { Get(OpenStore(), "absent"); });
  ExpectKept([] { OpenStore()->DeleteObjects(All()); });
  const Store store = OpenStore();
  ExpectKept([&] { store->BeginTransaction(); });
  ExpectKept([&] { Put(store, "a", "1"); });
  ExpectKept([&] { store->RollbackTransaction(); });
  ExpectKept([&] { store->BeginTransaction(); });
  ExpectKept([&] { store->CommitTransaction(); });
  ExpectKept([&] { List(store); });
  ExpectKept([&] { StartAfresh(); });
}

TEST_F(Errno, IsKeptByCallsThatFail) {
  Put(OpenStore(), "a", "1");
  const Store store = OpenStore();
  ExpectKept([&] { store->CommitTransaction(); }, kUsage);
  store->BeginTransaction();
  HostPlatform::UseLockTimeout(10);
  ExpectKept([] { WriteCode(); });
  ExpectKept([] { Put(OpenStore(), "a", "1"); }, kBusy);
  store->RollbackTransaction();
  ReplaceFile(SnapshotPath(), "damaged");
  ExpectKept([] { OpenStore(); }, kCorrupt);
  ExpectKept([&] { store->BeginTransaction(); }, kCorrupt);
  ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
  ASSERT_EQ(symlink("elsewhere", SnapshotPath().c_str()), 0);
  ExpectKept([] { OpenStore(); }, kInsecure);
}

TEST_F(Errno, IsKeptByReadsThatTakeTheNewestStateAfterACommit) {
  for (const bool list : {false, true}) {
    const Store store = OpenStore();
    Put(store, "a", "1");
    ASSERT_EQ(unlink(SnapshotPath().c_str()), 0);
    ExpectKept([&] { list ? List(store).size() : Get(store, "a").has_value(); });
  }
}

TEST_F(Errno, IsKeptByTheAdministrationToo) {
  ExpectKept([] { HostPlatform::GetConfigStoreState(); });
  ExpectKept([] { HostPlatform::GetFeature(9); });
  ExpectKept([] { HostPlatform::SetFeature(9, true); });
  ExpectKept([] { HostPlatform::GetConfigStoreState(); });
  ExpectKept([] {
    HostPlatform::UseHostDirectory("/dev/null/absent");
    EXPECT_THROW(HostPlatform::SetFeature(9, true), std::system_error);
    HostPlatform::GetFeature(9);
  });
}

// Signals

TEST_F(Descriptors, SignalsThatInterruptSystemCallsAreNoErrors) {
  struct sigaction action = {};
  action.sa_handler = [](int) {};  // without SA_RESTART: calls fail with EINTR
  ASSERT_EQ(sigaction(SIGALRM, &action, nullptr), 0);
  const struct itimerval often = {{0, 150}, {0, 150}};
  ASSERT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
  const std::string filling(200'000, 'x');
  CSErrorCodes code = kNothing;
  for (int i = 0; i < 40 && code == kNothing; ++i) {
    code = CodeOf([&] { Put(OpenStore(), "a", std::to_string(i) + filling); });
  }
  const struct itimerval never = {};
  ASSERT_EQ(setitimer(ITIMER_REAL, &never, nullptr), 0);
  EXPECT_EQ(code, kNothing);
  EXPECT_EQ(Get(OpenStore(), "a"), "39" + filling);
}

}  // namespace
}  // namespace PlatformTest
