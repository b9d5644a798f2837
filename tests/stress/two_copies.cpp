// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Two copies of the library in one process, as a plugin that is loaded by dlmopen() brings the
// second one. Threads are inside calls of both while the process forks; each child calls both.
//
//   two_copies --store store|file --forks NUMBER [--seed NUMBER]
//
// The second copy has a C library of its own, which is told of no fork.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "place.h"
#include "platform/admin.h"
#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "stress_program.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

constexpr char kName[] = "Gold";
constexpr char kBlob[] = "blob";  // short: the text needs no memory that one copy gives, and the
                                  // other takes back
constexpr char kLookup[] =
    "_ZN7TavQuor7QuorLib23GetRilkPolicyBlobByNameERKNSt7__cxx1112basic_stringIcSt11char_"
    "traitsIcESaIcEEE";
constexpr std::size_t kThreads = 4;
constexpr int kForksForEachCommit = 20;
constexpr unsigned kLongestLife = 60;  // seconds of a child; longer, and it hangs

using Lookup = std::string (*)(const std::string&);

class TwoCopies {
 public:
  explicit TwoCopies(const Arguments& arguments) : arguments_(arguments) {
    HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, arguments.store == "store");
    Commit();
    void* const second = dlmopen(LM_ID_NEWLM, "libquor.so.1", RTLD_NOW);
    if (second == nullptr) throw std::runtime_error(dlerror());
    lookups_[1] = reinterpret_cast<Lookup>(dlsym(second, kLookup));
    if (lookups_[1] == nullptr || lookups_[1] == lookups_[0])
      throw std::runtime_error("there is no second copy");
    CallBoth();
  }

  void Run() {
    std::atomic<bool> stopped{false};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, lookup = lookups_[i % 2]] {
        for (; !stopped; ++calls_)
          Check(lookup);
      });
    }
    try {
      for (; forks_ < arguments_.times; ++forks_) {
        if (forks_ % kForksForEachCommit == 0) Commit();
        ForkOne();
      }
    } catch (const std::exception& exception) {
      failure_ = exception.what();
    }
    stopped = true;
    for (std::thread& thread : threads)
      thread.join();
    if (!failure_.empty()) throw std::runtime_error(failure_);
  }

  void Print(double seconds) const {
    std::printf("store=%s seed=%llu forks=%d calls=%ld seconds=%.1f\n", arguments_.store.c_str(),
                static_cast<unsigned long long>(arguments_.seed), forks_, calls_.load(), seconds);
  }

 private:
  static void Commit() {
    TavQuor::QuorPolicyInfo policy;
    policy.name = kName;
    policy.blobs = {{kBlob, "RILK"}};
    TavQuor::QuorLib::AddPolicyInfo({policy});
  }

  static void Check(Lookup lookup) {
    if (lookup(kName) != kBlob) std::abort();
  }

  void CallBoth() const {
    for (const Lookup lookup : lookups_)
      Check(lookup);
  }

  void ForkOne() const {
    const pid_t child = fork();
    if (child == 0) {
      alarm(kLongestLife);
      CallBoth();
      _exit(0);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
      throw std::runtime_error("a child hangs");
    if (status != 0)
      throw std::runtime_error("a child ended with status " + std::to_string(status));
  }

  const Arguments& arguments_;
  std::array<Lookup, 2> lookups_{&TavQuor::QuorLib::GetRilkPolicyBlobByName, nullptr};
  int forks_ = 0;
  std::atomic<long> calls_{0};
  std::string failure_;
};

// Starts the program again with its host directory in the environment, where both copies find it.
int RunWithHost(char** argv) {
  const PlatformTest::TemporaryDirectory temporary(PlaceForFiles());
  const pid_t child = fork();
  if (child == 0) {
    setenv("QUOR_HOST_DIR", temporary.PathOf("host").c_str(), 1);  // NOLINT: one thread
    setenv("QUOR_TWO_COPIES", "1", 1);                             // NOLINT: one thread
    execv("/proc/self/exe", argv);
    _exit(2);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  if (getenv("QUOR_TWO_COPIES") == nullptr) return StressTest::RunWithHost(argv);  // NOLINT
  return StressTest::RunProgram<StressTest::TwoCopies>(argc, argv, "--forks");
}
