// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Threads that are inside all kinds of calls are cancelled at random moments.
//
//   cancels --store store|file --cancels NUMBER [--seed NUMBER]
//
// No cancellation takes effect within a call: each thread ends at its own cancellation point, with
// its last call's answer, and the process lives, with no lock held and no descriptor left open.
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "history.h"
#include "pauses.h"
#include "place.h"
#include "platform/admin.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

constexpr std::uint32_t kPatience = 120'000;
constexpr unsigned kLongestRound = 300;      // seconds; longer, and a thread hangs
constexpr useconds_t kLongestPause = 2'000;  // microseconds between a thread's start and its end
constexpr std::size_t kKinds = static_cast<std::size_t>(Call::kDigests) + 1;

class Cancels {
 public:
  explicit Cancels(const Arguments& arguments)
      : arguments_(arguments), random_(arguments.seed), host_(temporary_.PathOf("host")) {
    HostPlatform::UseHostDirectory(host_);
    HostPlatform::UseLockTimeout(kPatience);
    UseStore(arguments.store);
    digests_ = std::make_unique<Digests>();
  }

  void Run() {
    const std::size_t descriptors = OpenDescriptors();
    for (; cancels_ < arguments_.times; ++cancels_) {
      alarm(kLongestRound);
      CancelOne();
      if (failed_) throw std::runtime_error(failure_);
      CheckThatNothingIsHeld();
    }
    if (OpenDescriptors() != descriptors) throw std::runtime_error("descriptors were left open");
    for (const std::atomic<long>& calls : interrupted_) {
      if (calls == 0 && arguments_.times >= 1000)
        throw std::runtime_error("a kind of call was never cancelled");
    }
  }

  void Print(double seconds) const {
    long within = 0;
    for (const std::atomic<long>& calls : interrupted_)
      within += calls;
    std::printf("store=%s seed=%llu cancels=%d within-a-call=%ld calls=%ld seconds=%.1f\n",
                arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed),
                cancels_, within, calls_.load(), seconds);
  }

 private:
  static std::size_t OpenDescriptors() { return PlatformTest::NamesIn("/proc/self/fd").size(); }

  // The thread is cancelled within a call unless it was just between two.
  void CancelOne() {
    cancelled_ = false;
    seed_ = random_.Number();
    pthread_t thread;
    const int error = pthread_create(
        &thread, nullptr,
        [](void* test) -> void* {
          static_cast<Cancels*>(test)->CallUntilCancelled();
          return nullptr;
        },
        this);
    if (error != 0) throw std::system_error(error, std::generic_category(), "pthread_create");
    usleep(static_cast<useconds_t>(random_.Below(kLongestPause)));
    pthread_cancel(thread);
    cancelled_ = true;
    void* result = nullptr;
    pthread_join(thread, &result);
    if (!failed_ && result != PTHREAD_CANCELED) throw std::runtime_error("it was not cancelled");
  }

  // Nothing that owns memory lives where the thread is cancelled.
  void CallUntilCancelled() {
    PauseInCalls(seed_);
    int state = 0;
    for (PlatformTest::Random random(seed_); !failed_;) {
      pthread_testcancel();
      Call(&random);
    }
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
  }

  void Call(PlatformTest::Random* random) {
    Operation operation = AnyCall(random);
    operation.set = 1 + nextSet_++ % kSets;
    try {
      const bool before = cancelled_;
      MakeCall(*digests_, &operation);
      if (operation.ending != Ending::kReturned) throw std::runtime_error("a lock was not free");
      if (!before && cancelled_) ++interrupted_[static_cast<std::size_t>(operation.call)];
      ++calls_;
    } catch (const std::exception& exception) {
      failure_ = exception.what();
      failed_ = true;
    }
  }

  void CheckThatNothingIsHeld() const {
    for (const HostPlatform::LockState& lock : HostPlatform::GetLockStates()) {
      if (lock.held) throw std::runtime_error(lock.path + ": held by " + lock.holder);
    }
    for (const std::string& name : PlatformTest::NamesIn(host_)) {
      if (name.front() == '.') throw std::runtime_error("left over: " + name);
    }
  }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::string host_;
  std::unique_ptr<Digests> digests_;
  std::uint64_t seed_ = 0;
  int nextSet_ = 0;
  int cancels_ = 0;
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> failed_{false};
  std::string failure_;
  std::atomic<long> calls_{0};
  std::array<std::atomic<long>, kKinds> interrupted_{};
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::Cancels>(argc, argv, "--cancels");
}
