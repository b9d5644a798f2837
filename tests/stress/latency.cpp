// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How long a replacement takes while others read in a loop without a pause.
//
//   latency --store store|file --commits NUMBER [--seed NUMBER]
//
// A measurement: prints a line for each number of readers, with median and 99th percentile and how
// many times as long they are as with no reader, and whether that is within ten times. The same for
// processes that compute and read nothing. Fails only when a replacement does, or a reader, or when
// the readers read nothing.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "catalogue_calls.h"
#include "platform/admin.h"
#include "quor/quor_lib.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/shared.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

using Clock = std::chrono::steady_clock;
using TavQuor::QuorLib;
using TavQuor::QuorPolicyInfo;

constexpr std::size_t kMostProcesses = 16;
constexpr int kPolicies = 100;
constexpr std::size_t kBlobSize = 512;
constexpr int kRounds = 10;                         // each measures with every number of processes
constexpr int kUncounted = 2;                       // replacements before those that are measured
constexpr double kBar = 10;                         // times as long as with no reader
constexpr int kLookups = 4;                         // of a reader in each turn of its loop
constexpr std::chrono::seconds kLongestStart(120);  // until every process has made a turn

struct Notes {
  std::array<std::atomic<long>, kMostProcesses> turns{};  // of the others' loops
  std::atomic<bool> failed{false};
  std::array<char, 400> failure{};
};

// What the other processes do in their loops. Those that only compute show how much of the time is
// that of waiting for a processor.
enum class Others { kCompute, kRead };

class Latency {
 public:
  explicit Latency(const Arguments& arguments) : arguments_(arguments), random_(arguments.seed) {
    if (arguments.times < kRounds) throw std::invalid_argument("--commits is to be 10 at least");
    HostPlatform::UseHostDirectory(temporary_.PathOf("host"));
    UseStore(arguments.store);
    for (int i = 0; i < kPolicies; ++i)
      policies_.push_back(Policy(i));
    QuorLib::AddPolicyInfo(policies_);
    QuorLib::AddDatastoreInfo({{kUrl, kNamespace, policies_.back().policyId}});
  }
  Latency(const Latency&) = delete;
  Latency& operator=(const Latency&) = delete;
  ~Latency() { EndOthers(); }

  // In rounds, so that what else the machine does falls on all of them alike.
  void Run() {
    for (int round = 0; round < kRounds; ++round) {
      for (Row& row : rows_)
        Measure(arguments_.times / kRounds, &row);
    }
    for (const Row& row : rows_) {
      if (row.others == Others::kRead && row.reads == 0) throw std::runtime_error("nobody read");
    }
  }

  void Print(double seconds) const {
    for (const Row& row : rows_) {
      if (row.times.empty() || rows_.front().times.empty()) break;
      const double medians = row.Quantile(50) / rows_.front().Quantile(50);
      const double tails = row.Quantile(99) / rows_.front().Quantile(99);
      std::printf(
          "store=%s seed=%llu %s=%zu commits=%zu reads=%ld median-us=%.0f p99-us=%.0f "
          "median-times=%.1f (%s) p99-times=%.1f (%s)\n",
          arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed),
          row.others == Others::kRead || row.processes == 0 ? "readers" : "computing",
          row.processes, row.times.size(), row.reads, row.Quantile(50), row.Quantile(99), medians,
          Verdict(medians), tails, Verdict(tails));
    }
    std::printf("store=%s seconds=%.1f\n", arguments_.store.c_str(), seconds);
  }

 private:
  struct Row {
    Others others;
    std::size_t processes;
    long reads = 0;                  // while the replacements were measured
    std::vector<double> times = {};  // microseconds, sorted

    double Quantile(std::size_t percent) const { return times.at(times.size() * percent / 100); }
  };

  static constexpr char kUrl[] = "ds:///volumes/0/";
  static constexpr char kNamespace[] = "namespace-1";

  static const char* Verdict(double times) { return times <= kBar ? "met" : "not met"; }

  QuorPolicyInfo Policy(int number) {
    QuorPolicyInfo policy;
    for (const char* blobNamespace : {"RILK", kNamespace, "namespace-2"}) {
      std::string blob(kBlobSize, '\0');
      for (char& byte : blob)
        byte = static_cast<char>(random_.Number());
      policy.blobs.emplace_back(blob, blobNamespace);
    }
    policy.name = "Policy " + std::to_string(number);
    policy.policyId = "policy-" + std::to_string(number);
    return policy;
  }

  void Measure(int commits, Row* row) {
    for (std::size_t i = 0; i < row->processes; ++i)
      StartOther(row->others, &notes_->turns.at(i));
    WaitForTurns(row->processes);
    const long turnsBefore = Turns();
    for (int i = -kUncounted; i < commits; ++i) {
      ++policies_.front().generationNumber;
      const Clock::time_point start = Clock::now();
      QuorLib::AddPolicyInfo(policies_);
      const std::chrono::duration<double, std::micro> time = Clock::now() - start;
      if (i >= 0) row->times.push_back(time.count());
    }
    std::sort(row->times.begin(), row->times.end());
    const long turns = Turns() - turnsBefore;
    EndOthers();
    if (notes_->failed) throw std::runtime_error(notes_->failure.data());
    if (QuorLib::ListPolicyInfo().front().generationNumber != policies_.front().generationNumber) {
      throw std::runtime_error("the last replacement is not there");
    }
    if (row->others == Others::kRead) row->reads += turns * kLookups;
  }

  void StartOther(Others others, std::atomic<long>* turns) {
    *turns = 0;
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (process > 0) {
      processes_.push_back(process);
      return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
      for (;; ++*turns) {
        if (others == Others::kRead) Read();
      }
    } catch (const std::exception& exception) {
      std::strncpy(notes_->failure.data(), exception.what(), notes_->failure.size() - 1);
      notes_->failed = true;
    }
    _exit(1);
  }

  // Each of the lookups.
  void Read() const {
    const QuorPolicyInfo& last = policies_.back();
    if (QuorLib::GetRilkPolicyBlobByName(last.name) != last.blobs[0].first ||
        QuorLib::GetRilkPolicyBlobById(last.policyId) != last.blobs[0].first ||
        QuorLib::GetPolicyBlobById(last.policyId, kUrl) != last.blobs[1].first ||
        QuorLib::GetDefaultPolicyBlob(kUrl) != last.blobs[1].first) {
      throw std::runtime_error("a reader reads something else");
    }
  }

  void WaitForTurns(std::size_t processes) const {
    const Clock::time_point giveUp = Clock::now() + kLongestStart;
    for (std::size_t i = 0; i < processes; ++i) {
      while (notes_->turns.at(i) == 0) {
        if (notes_->failed) throw std::runtime_error(notes_->failure.data());
        if (Clock::now() > giveUp) throw std::runtime_error("a reader does not read");
        usleep(1000);
      }
    }
  }

  long Turns() const {
    long sum = 0;
    for (const std::atomic<long>& turns : notes_->turns)
      sum += turns;
    return sum;
  }

  void EndOthers() {
    for (const pid_t process : processes_) {
      kill(process, SIGKILL);
      while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
      }
    }
    processes_.clear();
  }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_;  // on a disk: its flushes are part of the time
  PlatformTest::Shared<Notes> notes_;
  std::vector<QuorPolicyInfo> policies_;
  std::vector<pid_t> processes_;
  std::array<Row, 5> rows_ = {Row{Others::kCompute, 0}, Row{Others::kCompute, 6},
                              Row{Others::kRead, 6}, Row{Others::kCompute, kMostProcesses},
                              Row{Others::kRead, kMostProcesses}};
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::Latency>(argc, argv, "--commits");
}
