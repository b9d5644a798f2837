// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Many short histories: in each of them several processes make random calls of the library on one
// host directory at the same time; what they were answered must have an explanation.
//
//   histories --store store|file --histories NUMBER [--seed NUMBER]
//
// In some of them the lock is waited for hardly at all, so that calls end in "busy"; in some a
// process is killed by SIGKILL; some start on an empty host. Which answers can be explained is
// written in linearizability.h. That wrong ones would be noticed is tried first.
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "history.h"
#include "linearizability.h"
#include "pauses.h"
#include "place.h"
#include "platform/admin.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/shared.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

constexpr std::size_t kFewestProcesses = 5;
constexpr std::size_t kMostProcesses = 8;
constexpr std::size_t kMostCalls = 6;  // of one process
constexpr std::uint32_t kPatience = 60'000;
constexpr unsigned kLongestLife = 120;  // seconds of a process; longer, and it hangs
constexpr int kMostTimesAsMany = 10;
constexpr std::size_t kLatestKill = 2000;     // microseconds after the start: most are done
constexpr int kHistoriesUntilNoticed = 2000;  // of those with wrong answers

// What makes the answers wrong, to see that it is noticed.
enum class Sabotage { kNone, kStaleAnswers, kLostReplacements };

// A call, and what its process notes of it.
struct Note {
  Operation operation;
  std::atomic<bool> begun{false};
  std::atomic<bool> ended{false};
};

struct Board {
  std::atomic<Stamp> clock{1};
  std::atomic<std::size_t> ready{0};
  std::atomic<bool> go{false};
  std::array<std::array<Note, kMostCalls>, kMostProcesses> notes;
  std::atomic<bool> failed{false};
  std::array<char, 400> failure{};
};

class Histories {
 public:
  explicit Histories(const Arguments& arguments)
      : arguments_(arguments), random_(arguments.seed), host_(temporary_.PathOf("host")) {
    HostPlatform::UseHostDirectory(host_);
    UseStore(arguments.store);
    digests_ = std::make_unique<Digests>();
    LookAtTheEnd(nullptr);
  }

  void Run() {
    untilStaleAnswers_ = TryWith(Sabotage::kStaleAnswers);
    untilLostReplacements_ = TryWith(Sabotage::kLostReplacements);
    counts_ = Counts();
    // More of them where chance killed nobody within a change yet.
    for (; counts_.histories < arguments_.times ||
           (!HasVariety() && counts_.histories < kMostTimesAsMany * arguments_.times);
         ++counts_.histories) {
      const StoredSets initial = RunOne(Sabotage::kNone);
      if (IsExplained(history_, initial, resets_, &counts_.configurations)) continue;
      throw std::runtime_error("history " + std::to_string(counts_.histories) +
                               " has no explanation; it began with policies " +
                               std::to_string(initial.policies) + " and datastores " +
                               std::to_string(initial.datastores) + '\n' + TextOf(history_));
    }
    RequireVariety();
  }

  void Print(double seconds) const {
    std::printf(
        "store=%s seed=%llu histories=%d processes=%ld calls=%ld overlapping=%ld busy=%ld "
        "killed=%ld killed-within-a-change=%ld configurations=%zu "
        "noticed-stale-answers-after=%d noticed-lost-replacements-after=%d seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed),
        counts_.histories, counts_.processes, counts_.calls, counts_.overlapping, counts_.busy,
        counts_.killed, counts_.withoutEnd, counts_.configurations, untilStaleAnswers_,
        untilLostReplacements_, seconds);
  }

 private:
  struct Counts {
    int histories = 0;
    long processes = 0;
    long calls = 0;
    long overlapping = 0;  // calls during which another process was within one
    long busy = 0;
    long killed = 0;
    long withoutEnd = 0;  // changes within which the process was killed
    std::size_t configurations = 0;
  };

  // Runs one history and returns what was stored at its beginning.
  StoredSets RunOne(Sabotage sabotage) {
    if (random_.OneIn(10)) StartOnAnEmptyHost();
    const StoredSets initial = stored_;
    const std::size_t processes =
        kFewestProcesses + random_.Below(kMostProcesses - kFewestProcesses + 1);
    // As many milliseconds as a commit takes, or none.
    HostPlatform::UseLockTimeout(random_.OneIn(4) ? static_cast<std::uint32_t>(random_.Below(2))
                                                  : kPatience);
    Plan(processes);
    const std::vector<pid_t> pids = Start(processes, sabotage);
    const bool kills = random_.OneIn(4);
    if (kills) Kill(pids.at(random_.Below(processes)));
    Reap(pids, kills);
    HostPlatform::UseLockTimeout(kPatience);
    Collect(processes);
    LookAtTheEnd(&history_);
    return initial;
  }

  void StartOnAnEmptyHost() {
    std::filesystem::remove_all(host_);
    HostPlatform::UseHostDirectory(host_);  // as processes that never saw the one before
    stored_ = StoredSets();
  }

  // Every number is written once, and is not one that was there before.
  int NextSet() {
    if (random_.OneIn(10)) return 0;
    do {
      nextSet_ = nextSet_ % kSets + 1;
    } while (nextSet_ == stored_.policies || nextSet_ == stored_.datastores);
    return nextSet_;
  }

  void Plan(std::size_t processes) {
    board_ = std::make_unique<PlatformTest::Shared<Board>>();
    for (std::size_t process = 0; process < processes; ++process) {
      for (Note& note : (*board_)->notes.at(process)) {
        note.operation = AnyCall(&random_);
        note.operation.process = static_cast<int>(process);
        if (note.operation.call <= Call::kReplaceDatastores) note.operation.set = NextSet();
      }
    }
  }

  std::vector<pid_t> Start(std::size_t processes, Sabotage sabotage) {
    std::fflush(nullptr);
    std::vector<pid_t> pids;
    for (std::size_t process = 0; process < processes; ++process) {
      const std::uint64_t seed = random_.Number();
      const std::size_t calls = 1 + random_.Below(kMostCalls);
      const pid_t pid = fork();
      if (pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
      if (pid == 0) BeProcess(process, calls, seed, sabotage);
      pids.push_back(pid);
    }
    while ((*board_)->ready < processes)
      sched_yield();
    (*board_)->go = true;
    return pids;
  }

  [[noreturn]] void BeProcess(std::size_t process, std::size_t calls, std::uint64_t seed,
                              Sabotage sabotage) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(kLongestLife);
    PauseInCalls(seed);
    Board& board = **board_;
    try {
      Operation early;
      early.call = Call::kListPolicies;
      if (sabotage == Sabotage::kStaleAnswers) MakeCall(*digests_, &early);
      ++board.ready;
      while (!board.go)
        sched_yield();
      for (std::size_t i = 0; i < calls; ++i)
        MakeNotedCall(&board.notes.at(process).at(i), sabotage, early);
    } catch (const std::exception& exception) {
      if (!board.failed.exchange(true)) {
        std::strncpy(board.failure.data(), exception.what(), board.failure.size() - 1);
      }
    }
    _exit(0);
  }

  // What is noted when the process is killed is that the call began, or all of it.
  void MakeNotedCall(Note* note, Sabotage sabotage, const Operation& early) const {
    std::atomic<Stamp>& clock = (*board_)->clock;
    Operation operation = note->operation;
    operation.start = note->operation.start = clock++;
    note->begun = true;
    if (sabotage == Sabotage::kStaleAnswers && operation.call == early.call) {
      operation.answer = early.answer;
      operation.ending = early.ending;
    } else if (sabotage == Sabotage::kLostReplacements && operation.process == 0 &&
               operation.call == Call::kReplacePolicies) {
      operation.ending = Ending::kReturned;
    } else {
      MakeCall(*digests_, &operation);
    }
    operation.end = clock++;
    note->operation = operation;
    note->ended = true;
  }

  void Kill(pid_t process) {
    usleep(static_cast<useconds_t>(random_.Below(kLatestKill)));
    kill(process, SIGKILL);
    ++counts_.killed;
  }

  void Reap(const std::vector<pid_t>& pids, bool mayBeKilled) const {
    for (const pid_t pid : pids) {
      int status = 0;
      while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
      }
      const bool wasKilled = mayBeKilled && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
      if (status != 0 && !wasKilled) {
        throw std::runtime_error("a process ended with status " + std::to_string(status));
      }
    }
    if ((*board_)->failed) throw std::runtime_error((*board_)->failure.data());
  }

  void Collect(std::size_t processes) {
    history_.clear();
    for (std::size_t process = 0; process < processes; ++process) {
      for (const Note& note : (*board_)->notes.at(process)) {
        if (!note.begun) continue;
        Operation operation = note.operation;
        if (!note.ended) {
          operation.ending = Ending::kNever;
          operation.end = kNever;
        }
        history_.push_back(operation);
      }
    }
    Count(processes);
  }

  void Count(std::size_t processes) {
    counts_.processes += static_cast<long>(processes);
    counts_.calls += static_cast<long>(history_.size());
    for (const Operation& operation : history_) {
      if (operation.ending == Ending::kBusy) ++counts_.busy;
      if (operation.ending == Ending::kNever && operation.call <= Call::kReset) {
        ++counts_.withoutEnd;
      }
      for (const Operation& other : history_) {
        if (other.process == operation.process) continue;
        if (other.start > operation.end || operation.start > other.end) continue;
        ++counts_.overlapping;
        break;
      }
    }
  }

  // With nobody else there. What is found belongs to the history.
  void LookAtTheEnd(History* history) {
    for (const Call call : {Call::kListPolicies, Call::kListDatastores}) {
      Operation look;
      look.call = call;
      look.process = -1;
      MakeCall(*digests_, &look);
      (call == Call::kListPolicies ? stored_.policies : stored_.datastores) = look.answer;
      if (history == nullptr) continue;
      look.start = (*board_)->clock++;
      look.end = (*board_)->clock++;
      history->push_back(look);
    }
  }

  // Wrong answers must turn up as a history without explanation. Returns after how many others.
  int TryWith(Sabotage sabotage) {
    for (int tries = 0; tries < kHistoriesUntilNoticed; ++tries) {
      const StoredSets initial = RunOne(sabotage);
      if (!IsExplained(history_, initial, resets_)) return tries;
    }
    throw std::logic_error("wrong answers were not noticed");
  }

  bool HasVariety() const { return counts_.busy > 0 && counts_.withoutEnd > 0; }

  void RequireVariety() const {
    if (counts_.overlapping < counts_.calls / 2) {
      throw std::runtime_error("the processes were hardly ever there at the same time");
    }
    if (!HasVariety()) {
      throw std::runtime_error("nobody was refused, or killed within a change");
    }
  }

  const Arguments& arguments_;
  const Resets resets_ = arguments_.store == "store" ? Resets::kAtOnce : Resets::kInTwoSteps;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::string host_;
  std::unique_ptr<Digests> digests_;
  std::unique_ptr<PlatformTest::Shared<Board>> board_;
  StoredSets stored_;
  History history_;
  int nextSet_ = 0;
  Counts counts_;
  int untilStaleAnswers_ = 0;
  int untilLostReplacements_ = 0;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::Histories>(argc, argv, "--histories");
}
