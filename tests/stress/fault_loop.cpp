// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Every call of every operation fails in turn, and every allocation: the first, the second, the
// third, until there is none left; each time that one only, and again that one and all after it.
//
//   fault_loop --store store|file --catalogues NUMBER [--seed NUMBER]
//
// Each round ends in success or in the exception that is documented; what is stored is the old
// state or the new one, whole; no descriptor, lock, mapping or temporary is left behind; and the
// next call works.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "fault_attempt.h"
#include "fault_catalogue.h"
#include "fault_host.h"
#include "fault_operations.h"
#include "faults/failing_allocations.h"
#include "faults/trapped_calls.h"
#include "platform/admin.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/shared.h"

namespace StressTest {
namespace {

using Outcome = Attempt::Outcome;
using PlatformTest::kAllocator;

const std::vector<int> kErrors = {EIO, ENOSPC, EDQUOT, EMFILE, EACCES, EINTR};
constexpr int kMostPoints = 5000;              // an operation with more does not end
constexpr std::uint32_t kTimeoutOfARound = 2;  // milliseconds: EACCES is what a held lock says, too
constexpr std::uint32_t kTimeoutOfTheNextCall = 0;

// Shared with the child processes in which some rounds are made.
struct Counts {
  int calls = 0;        // points: system calls,
  int transfers = 0;    // those of them that can be cut short,
  int allocations = 0;  // and allocations
  int rounds = 0;
  int succeeded = 0;
  int raised = 0;
  int ended = 0;    // the process, as memory ran out in a formatter
  int leftOut = 0;  // listings without a policy whose blob could not be decoded for lack of memory
  int failures = 0;
  bool disturbed = false;  // the last round
};

class FaultLoop {
 public:
  explicit FaultLoop(const Arguments& arguments) : arguments_(arguments), random_(arguments.seed) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    PlatformTest::TrapSystemCalls();
    WatchOverRounds();
  }

  void Run() {
    for (int i = 0; i < arguments_.times; ++i) {
      const Catalogue before = MakeCatalogue("old" + std::to_string(i), &random_);
      const Catalogue after = MakeCatalogue("new" + std::to_string(i), &random_);
      FaultHost host(arguments_.store, before);
      host_ = &host;
      const Operations operations(arguments_.store, host, before, after);
      operations_ = operations.all().size();
      for (const Operation& operation : operations.all())
        TryEveryFault(operation);
    }
    if (counts_->failures != 0)
      throw std::runtime_error(std::to_string(counts_->failures) + " rounds failed");
  }

  void Print(double seconds) const {
    std::printf(
        "store=%s seed=%llu operations=%zu calls=%d transfers=%d allocations=%d allocator=%s "
        "rounds=%d succeeded=%d raised=%d ended=%d left-out=%d failures=%d seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed), operations_,
        counts_->calls, counts_->transfers, counts_->allocations, kAllocator, counts_->rounds,
        counts_->succeeded, counts_->raised, counts_->ended, counts_->leftOut, counts_->failures,
        seconds);
  }

 private:
  // How it is without a fault, from the same start.
  struct Expected {
    std::vector<std::string> states;
    Answers answers;
    std::set<std::string> attributes;  // after a second call
    int calls = 0;
    int allocations = 0;
  };

  void TryEveryFault(const Operation& operation) {
    operation_ = &operation;
    TryWithout();
    for (const int error : kErrors) {
      TryEveryCall(error, false);
      // For ever is how long an interrupted call is repeated.
      if (error != EINTR) TryEveryCall(error, true);
    }
    TryEveryCall(0, false);
    TryEveryCall(0, true);
    TryEveryAllocation(false);
    TryEveryAllocation(true);
  }

  void TryWithout() {
    expected_ = Expected();
    host_->Prepare(operation_->start);
    expected_.states = {operation_->state()};
    expected_.states.insert(expected_.states.end(), operation_->stepsBetween.begin(),
                            operation_->stepsBetween.end());
    host_->Prepare(operation_->start);
    const Attempt attempt = TryOnce({});
    expected_.answers = attempt.answers;
    expected_.calls = attempt.calls.made;
    expected_.allocations = attempt.allocations.made;
    const std::string state = operation_->state();
    if (state != expected_.states.front()) expected_.states.push_back(state);
    Attempt next = TryOnce({});
    expected_.attributes = host_->Attributes();
    if (attempt.Failed() || next.Failed()) Refuse("it fails without a fault: " + attempt.message);
    if (operation_->asksTheSystem && expected_.calls == 0) Refuse("it asks the system nothing");
    if (operation_->allocates && expected_.allocations == 0) Refuse("it allocates nothing");
  }

  void TryEveryCall(int error, bool forEver) {
    FaultPlan plan;
    plan.calls.error = error;
    plan.calls.forEver = forEver;
    const int points = Count(plan, &plan.calls.first);
    if (error != 0 && points == 0 && expected_.calls > 0) Refuse("none of its calls failed");
    if (forEver) return;
    if (error == 0) counts_->transfers += points;
    if (error == kErrors.front()) counts_->calls += points;
  }

  void TryEveryAllocation(bool forEver) {
    FaultPlan plan;
    plan.allocations.forEver = forEver;
    const int points = Count(plan, &plan.allocations.first);
    if (points == 0 && expected_.allocations > 0) Refuse("none of its allocations failed");
    if (!forEver) counts_->allocations += points;
  }

  // Counts `number`, a part of the plan, up until nothing fails any more. Returns how many there
  // were.
  int Count(const FaultPlan& plan, int* number) {
    for (*number = 1; *number < kMostPoints; ++*number) {
      if (!TryRound(plan)) return *number - 1;
    }
    throw std::runtime_error(operation_->name + " does not end");
  }

  // False when nothing was there to fail.
  bool TryRound(const FaultPlan& plan) {
    ++counts_->rounds;
    round_ = operation_->name + " (" + NameOf(operation_->start) + "), " + NameOf(plan);
    BeginRound(round_);
    host_->Prepare(operation_->start);
    counts_->disturbed = true;
    everythingFailed_ = plan.calls.forEver && plan.calls.error != 0;
    if (operation_->formatsDigests && plan.allocations.first != 0) {
      if (EndsTheProcess([&] { TryRoundHere(plan); })) {
        ++counts_->ended;
        CheckNext();
      }
    } else {
      TryRoundHere(plan);
    }
    return counts_->disturbed;
  }

  void TryRoundHere(const FaultPlan& plan) {
    const std::vector<std::string> descriptors = OpenDescriptors();
    const Attempt attempt = TryOnce(plan);
    ++(attempt.Failed() ? counts_->raised : counts_->succeeded);
    Expect(OpenDescriptors() == descriptors, "a descriptor is left over", attempt);
    ExpectEmpty(host_->HeldLock(), attempt);
    ExpectEmpty(host_->SurplusMapping(false), attempt);
    CheckOutcome(attempt);
    CheckTemporaries(attempt);
    CheckState(attempt);
    CheckNext();
    counts_->disturbed = attempt.WasDisturbed();
  }

  Attempt TryOnce(const FaultPlan& plan) {
    HostPlatform::UseLockTimeout(kTimeoutOfARound);
    Attempt attempt = Try(*operation_, plan, arguments_.store);
    HostPlatform::UseLockTimeout(kTimeoutOfTheNextCall);
    return attempt;
  }

  void CheckOutcome(const Attempt& attempt) {
    // malloc() leaves its own there when it fails.
    Expect(attempt.keptErrno || attempt.allocations.failed > 0, "errno is not as it was", attempt);
    const bool isDocumented =
        attempt.outcome == Outcome::kSuccess || attempt.outcome == Outcome::kBadAlloc ||
        (attempt.outcome == Outcome::kFailureOfTheStore &&
         operation_->raises == Raises::kFailureOfTheStore) ||
        (attempt.outcome == Outcome::kSystemError && operation_->raises == Raises::kSystemError);
    Expect(isDocumented, "what it raises is not documented", attempt);
    if (!attempt.WasDisturbed()) Expect(!attempt.Failed(), "it fails without a fault", attempt);
    // Nothing else would show it: what was not flushed is read all the same.
    if (attempt.calls.flushFailed) Expect(attempt.Failed(), "it succeeds without a flush", attempt);
    if (attempt.Failed() || attempt.answers.Text() == expected_.answers.Text()) return;
    if (operation_->listsPolicies && PlatformTest::LastFailureWasIn("Base64_EasyDecode")) {
      CheckLeftOut(attempt);
      return;
    }
    const bool saysSo = operation_->saysWhatIsWrong && operation_->saysWhatIsWrong(attempt.answers);
    Expect(saysSo && attempt.WasDisturbed(), "the answer is wrong", attempt);
  }

  // A policy that cannot be read is left out of a listing, also when it is memory that lacks.
  void CheckLeftOut(const Attempt& attempt) {
    ++counts_->leftOut;
    const std::vector<std::string> all = TextsOf(expected_.answers.policies);
    const std::vector<std::string> listed = TextsOf(attempt.answers.policies);
    std::size_t found = 0;
    for (const std::string& policy : all) {
      if (found < listed.size() && listed[found] == policy) ++found;
    }
    Expect(found == listed.size(), "the listing is wrong", attempt);
  }

  void CheckTemporaries(const Attempt& attempt) {
    if (attempt.calls.removalFailed) return;  // the next commit removes it
    const std::size_t known = operation_->start == Start::kLeftOver ? 1 : 0;
    Expect(host_->Temporaries().size() <= known, "a temporary is left over", attempt);
  }

  // Once as this process knows it, and once as it is read anew.
  void CheckState(const Attempt& attempt) {
    CheckState(operation_->state(), attempt);
    if (expected_.states.size() == 1) return;
    host_->Touch();
    CheckState(operation_->state(), attempt);
  }

  // Every step before the last is the state of a failure, but for one that says that the content is
  // in: that is at least one step further.
  void CheckState(const std::string& state, const Attempt& attempt) {
    const auto& states = expected_.states;
    const auto step =
        static_cast<std::size_t>(std::find(states.begin(), states.end(), state) - states.begin());
    if (step == states.size()) {
      Expect(false, "what is stored is neither old nor new", attempt);
    } else if (!attempt.Failed()) {
      Expect(step == states.size() - 1, "it succeeds, and the old state is there", attempt);
    } else if (states.size() > 1 && operation_->saysThatItIsIn(attempt.message)) {
      Expect(step > 0, "the message says that the new state is there, and it is not", attempt);
    } else if (states.size() > 1) {
      Expect(step < states.size() - 1, "it fails, and the new state is there", attempt);
    }
  }

  void CheckNext() {
    const std::vector<std::string> descriptors = OpenDescriptors();
    const Attempt next = TryOnce({});
    Expect(!next.Failed(), "the next call fails", next);
    Expect(next.answers.Text() == expected_.answers.Text(), "the next answer is wrong", next);
    Expect(operation_->state() == expected_.states.back(), "the next call does not take", next);
    if (expected_.states.size() > 1 || operation_->start != Start::kLeftOver) {
      Expect(host_->Temporaries().empty(), "the next call leaves a temporary", next);
    }
    // Where every call fails, what was made halfway cannot be taken away again.
    if (!everythingFailed_) {
      Expect(host_->Attributes() == expected_.attributes, "names, modes or owners are wrong", next);
    }
    Expect(OpenDescriptors() == descriptors, "the next call leaves a descriptor", next);
    ExpectEmpty(host_->HeldLock(), next);
    StoredCatalogue();  // from here on the process knows the files that are there
    ExpectEmpty(host_->SurplusMapping(true), next);
  }

  void ExpectEmpty(const std::string& complaint, const Attempt& attempt) {
    Expect(complaint.empty(), complaint, attempt);
  }

  void Expect(bool holds, const std::string& complaint, const Attempt& attempt) {
    if (holds) return;
    std::string failed;
    const auto told = std::min(attempt.calls.failed, 5);
    for (int i = 0; i < told; ++i) {
      failed +=
          ' ' + PlatformTest::NameOfCall(attempt.calls.failedCalls.at(static_cast<std::size_t>(i)));
    }
    Refuse(complaint + (failed.empty() ? "" : " [failed:" + failed + "]") +
           (attempt.Failed() ? " [raised: " + attempt.message + "]" : ""));
  }

  // All are counted; told is each complaint about an operation once.
  void Refuse(const std::string& complaint) {
    ++counts_->failures;
    const std::string kind = complaint.substr(0, complaint.find(" ["));
    if (!told_.insert(operation_->name + NameOf(operation_->start) + kind).second) return;
    std::printf("failure: %s: %s\n", round_.empty() ? operation_->name.c_str() : round_.c_str(),
                complaint.c_str());
  }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  FaultHost* host_ = nullptr;
  const Operation* operation_ = nullptr;
  Expected expected_;
  std::string round_;
  bool everythingFailed_ = false;  // from some call of the round on
  std::set<std::string> told_;

  std::size_t operations_ = 0;
  PlatformTest::Shared<Counts> counts_;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::FaultLoop>(argc, argv, "--catalogues");
}
