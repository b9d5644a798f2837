// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A signal handler forks again and again while its thread, or four others, are inside all kinds of
// calls.
//
//   signal_forks --store store|file --forks NUMBER [--seed NUMBER]
//
// Three of four are made by a thread that does not call, beside four that do; their children call.
// The others are made in a process of one thread, in the middle of that thread's calls: with
// several threads the C library locks its allocator around a fork, and a handler that interrupted
// an allocation would wait for ever, whoever called. Other allocators do so with one thread too;
// with them all forks are made beside the four. Neither the program nor a child hangs, and the
// parent's calls go on unharmed.
#include <dlfcn.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
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

constexpr std::size_t kThreads = 4;
constexpr std::uint32_t kPatience = 120'000;
constexpr suseconds_t kInterval = 2'000;  // microseconds between two forks, at the least
constexpr unsigned kLongestLife = 60;     // seconds of a child or between two forks

struct Counts {
  std::atomic<int> forks{0};
  std::atomic<int> nextSet{0};
  std::atomic<long> calls{0};
  std::atomic<long> callsOfChildren{0};
  std::atomic<bool> failed{false};
};

// What the handler uses.
Counts* counts = nullptr;
Digests* digests = nullptr;
bool childrenCall = false;
volatile std::sig_atomic_t forksLeft = 0;

void Call(PlatformTest::Random* random, std::atomic<long>* calls) {
  Operation operation = AnyCall(random);
  operation.set = 1 + counts->nextSet++ % kSets;
  MakeCall(*digests, &operation);
  if (operation.ending != Ending::kReturned) throw std::runtime_error("a lock was not free");
  ++*calls;
}

[[noreturn]] void BeChild() {
  alarm(kLongestLife);
  if (!childrenCall) _exit(0);
  try {
    PlatformTest::Random random(static_cast<std::uint64_t>(getpid()));
    Call(&random, &counts->callsOfChildren);
    _exit(0);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "a child: %s\n", exception.what());
  }
  _exit(1);
}

void ForkInHandler(int /*signal*/) {
  if (forksLeft == 0) return;
  forksLeft = forksLeft - 1;
  const int error = errno;
  alarm(kLongestLife);  // a fork that hangs ends the process
  const pid_t child = fork();
  if (child == 0) BeChild();
  int status = -1;
  while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0) counts->failed = true;
  ++counts->forks;
  errno = error;
}

void SetTimer(suseconds_t interval) {
  const struct itimerval timer = {{0, interval}, {0, interval}};
  if (setitimer(ITIMER_PROF, &timer, nullptr) != 0) throw std::runtime_error("setitimer");
}

class SignalForks {
 public:
  explicit SignalForks(const Arguments& arguments)
      : arguments_(arguments), host_(temporary_.PathOf("host")) {
    HostPlatform::UseHostDirectory(host_);
    HostPlatform::UseLockTimeout(kPatience);
    UseStore(arguments.store);
    digests_ = std::make_unique<Digests>();
    digests = digests_.get();
    counts = &*counts_;
  }

  void Run() {
    struct sigaction action = {};
    action.sa_handler = &ForkInHandler;
    action.sa_flags = SA_RESTART;
    sigaction(SIGPROF, &action, nullptr);
    const int within = HasOtherAllocator() ? 0 : std::max(1, arguments_.times / 4);
    if (within != 0) RunInProcess([&] { ForkWithinCalls(within); });
    RunInProcess([&] { ForkBesideThreads(arguments_.times - within); });
  }

  void Print(double seconds) const {
    std::printf("store=%s seed=%llu forks=%d calls=%ld calls-of-children=%ld seconds=%.1f\n",
                arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed),
                counts_->forks.load(), counts_->calls.load(), counts_->callsOfChildren.load(),
                seconds);
  }

 private:
  static bool HasOtherAllocator() {
    return dlsym(RTLD_DEFAULT, "mallctl") != nullptr || dlsym(RTLD_DEFAULT, "tc_malloc") != nullptr;
  }

  // In a process of its own, whose end by a signal tells that it hung.
  template <typename Body>
  static void RunInProcess(Body body) {
    const pid_t child = fork();
    if (child == 0) {
      try {
        body();
        _exit(counts->failed ? 1 : 0);
      } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
      }
      _exit(1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) {
      throw std::runtime_error("the program hangs");
    }
    if (status != 0) throw std::runtime_error("it ended with status " + std::to_string(status));
  }

  // The processor's time makes the timer go: the signal comes in the middle of the calls.
  void ForkWithinCalls(int forks) const {
    forksLeft = forks;
    PlatformTest::Random random(arguments_.seed);
    SetTimer(kInterval);
    while (forksLeft != 0)
      Call(&random, &counts->calls);
    SetTimer(0);
  }

  void ForkBesideThreads(int forks) const {
    sigset_t ours;
    sigemptyset(&ours);
    sigaddset(&ours, SIGPROF);
    pthread_sigmask(SIG_BLOCK, &ours, nullptr);
    std::atomic<bool> stopped{false};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, seed = arguments_.seed + i] {
        PauseInCalls(seed);
        PlatformTest::Random random(seed);
        try {
          while (!stopped)
            Call(&random, &counts->calls);
        } catch (const std::exception& exception) {
          std::fprintf(stderr, "a thread: %s\n", exception.what());
          counts->failed = true;
        }
      });
    }
    childrenCall = true;
    forksLeft = forks;
    pthread_sigmask(SIG_UNBLOCK, &ours, nullptr);
    SetTimer(kInterval);
    while (forksLeft != 0 && !counts->failed)
      pause();
    SetTimer(0);
    stopped = true;
    for (std::thread& thread : threads)
      thread.join();
  }

  const Arguments& arguments_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::string host_;
  PlatformTest::Shared<Counts> counts_;
  std::unique_ptr<Digests> digests_;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::SignalForks>(argc, argv, "--forks");
}
