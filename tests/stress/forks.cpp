// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A process whose threads are inside all kinds of calls forks again and again, and each child makes
// calls of its own.
//
//   forks --store store|file --forks NUMBER [--seed NUMBER]
//
// Every child reads whole sets, some replace one; they end by _exit() or by exit(), with a handler
// that reads once more. None of them hangs, fails, or keeps a lock; the parent goes on unharmed.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "history.h"
#include "pauses.h"
#include "place.h"
#include "platform/admin.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/shared.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

constexpr std::size_t kThreads = 3;
constexpr std::size_t kChildrenAtOnce = 3;
constexpr std::size_t kLingering = 30;  // children that are still there at the end
constexpr int kCallsOfAChild = 3;
constexpr std::uint32_t kPatience = 120'000;
constexpr unsigned kLongestLife = 150;       // seconds of a child; longer, and it hangs
constexpr useconds_t kLongestPause = 1'000;  // microseconds between two forks

struct Notes {
  std::atomic<int> nextSet{0};
  std::atomic<long> callsOfThreads{0};
  std::atomic<long> callsOfChildren{0};
  std::atomic<long> changesOfChildren{0};
  std::atomic<long> callsWhileEnding{0};
  std::atomic<bool> failed{false};
  std::array<char, 400> failure{};
};

// Whether this process ends as one of the children that make a last call.
bool readsWhileEnding = false;
Notes* notesOfAll = nullptr;

void ReadWhileEnding() {
  if (!readsWhileEnding) return;
  try {
    NumberOf(TavQuor::QuorLib::ListPolicyInfo());
    ++notesOfAll->callsWhileEnding;
  } catch (const std::exception&) {
    _exit(1);
  }
}

class Forks {
 public:
  explicit Forks(const Arguments& arguments)
      : arguments_(arguments), random_(arguments.seed), host_(temporary_.PathOf("host")) {
    HostPlatform::UseHostDirectory(host_);
    HostPlatform::UseLockTimeout(kPatience);
    UseStore(arguments.store);
    digests_ = std::make_unique<Digests>();
    notesOfAll = &*notes_;
    if (std::atexit(&ReadWhileEnding) != 0) throw std::runtime_error("atexit");
  }
  Forks(const Forks&) = delete;
  Forks& operator=(const Forks&) = delete;
  ~Forks() {
    StopThreads();
    for (const pid_t child : children_)
      End(child);
  }

  void Run() {
    const std::size_t descriptors = OpenDescriptors();
    for (std::size_t i = 0; i < kThreads; ++i)
      threads_.emplace_back([this, seed = random_.Number()] { CallUntilStopped(seed); });
    for (; forks_ < arguments_.times; ++forks_) {
      usleep(static_cast<useconds_t>(random_.Below(kLongestPause)));
      alarm(2 * kLongestLife);  // a fork that hangs ends this process
      children_.push_back(Fork(false));
      if (children_.size() >= kChildrenAtOnce) ReapOldest();
    }
    while (!children_.empty())
      ReapOldest();
    LeaveNoLockWithChildren();
    if (OpenDescriptors() != descriptors) throw std::runtime_error("descriptors were left open");
    for (const std::string& name : PlatformTest::NamesIn(host_)) {
      if (name.front() == '.') throw std::runtime_error("left over: " + name);
    }
    if (notes_->callsOfThreads < forks_ / 10) throw std::runtime_error("the threads hardly called");
  }

  void Print(double seconds) const {
    std::printf(
        "store=%s seed=%llu forks=%d ended-by-exit=%ld calls-of-children=%ld "
        "changes-of-children=%ld calls-of-threads=%ld lingering=%zu seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed), forks_,
        notes_->callsWhileEnding.load(), notes_->callsOfChildren.load(),
        notes_->changesOfChildren.load(), notes_->callsOfThreads.load(), lingering_, seconds);
  }

 private:
  static std::size_t OpenDescriptors() { return PlatformTest::NamesIn("/proc/self/fd").size(); }

  void Call(PlatformTest::Random* random, std::atomic<long>* calls) {
    Operation operation = AnyCall(random);
    operation.set = 1 + notes_->nextSet++ % kSets;
    MakeCall(*digests_, &operation);
    if (operation.ending != Ending::kReturned) throw std::runtime_error("a lock was not free");
    ++*calls;
    if (calls == &notes_->callsOfChildren && operation.call <= Call::kReset) {
      ++notes_->changesOfChildren;
    }
  }

  void CallUntilStopped(std::uint64_t seed) {
    PauseInCalls(seed);
    PlatformTest::Random random(seed);
    try {
      while (!stopped_)
        Call(&random, &notes_->callsOfThreads);
    } catch (const std::exception& exception) {
      Fail(exception.what());
    }
  }

  // The first failure is the one that counts.
  void Fail(const char* message) {
    if (!notes_->failed.exchange(true)) {
      std::strncpy(notes_->failure.data(), message, notes_->failure.size() - 1);
    }
  }

  pid_t Fork(bool lingers) {
    const std::uint64_t seed = random_.Number();
    const pid_t child = fork();
    if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) BeChild(seed, lingers);
    return child;
  }

  [[noreturn]] void BeChild(std::uint64_t seed, bool lingers) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(kLongestLife);
    if (lingers) {
      for (;;)
        pause();
    }
    PlatformTest::Random random(seed);
    try {
      for (int i = 0; i < kCallsOfAChild; ++i)
        Call(&random, &notes_->callsOfChildren);
    } catch (const std::exception& exception) {
      Fail(exception.what());
      _exit(1);
    }
    if (random.OneIn(2)) _exit(0);
    readsWhileEnding = true;
    std::exit(0);  // NOLINT(concurrency-mt-unsafe): the child has this thread alone
  }

  static int End(pid_t child) {
    kill(child, SIGKILL);
    return Reap(child);
  }

  static int Reap(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
  }

  void ReapOldest() {
    const int status = Reap(children_.front());
    children_.pop_front();
    if (notes_->failed) throw std::runtime_error(notes_->failure.data());
    if (status == 0) return;
    throw std::runtime_error((WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
                                 ? "a child hangs"
                                 : "a child ended with status " + std::to_string(status));
  }

  void StopThreads() {
    stopped_ = true;
    for (std::thread& thread : threads_)
      thread.join();
    threads_.clear();
  }

  // Children that were forked in the middle of calls live on, with whatever they have inherited.
  void LeaveNoLockWithChildren() {
    for (; lingering_ < kLingering; ++lingering_) {
      usleep(static_cast<useconds_t>(random_.Below(kLongestPause)));
      children_.push_back(Fork(true));
    }
    StopThreads();
    if (notes_->failed) throw std::runtime_error(notes_->failure.data());
    HostPlatform::UseLockTimeout(0);
    for (const HostPlatform::LockState& lock : HostPlatform::GetLockStates()) {
      if (lock.held) throw std::runtime_error(lock.path + ": held by " + lock.holder);
    }
    TavQuor::QuorLib::AddPolicyInfo(PoliciesOf(1));
    TavQuor::QuorLib::AddDatastoreInfo(DatastoresOf(2));
    if (digests_->NumbersOf(TavQuor::QuorLib::GetDbHash()) != std::make_pair(1, 2)) {
      throw std::runtime_error("the last replacements do not take");
    }
    for (const pid_t child : children_)
      End(child);
    children_.clear();
  }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::string host_;
  PlatformTest::Shared<Notes> notes_;
  std::unique_ptr<Digests> digests_;
  std::atomic<bool> stopped_{false};
  std::vector<std::thread> threads_;
  std::deque<pid_t> children_;
  int forks_ = 0;
  std::size_t lingering_ = 0;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::Forks>(argc, argv, "--forks");
}
