// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "linearizability.h"

#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "catalogue_sets.h"

namespace StressTest {
namespace {

// How far an operation has come: not begun, finished, or in between with what it has read so far.
using Progress = signed char;
constexpr Progress kNotBegun = 0;
constexpr Progress kFinished = 1;
constexpr Progress kSecondStep = 2;     // of those that need to keep nothing
constexpr Progress kHasPolicy = 10;     // and above: the policy whose blob is looked for
constexpr Progress kHasNamespace = 20;  // and above: the policy and the namespace

Progress WithPolicy(int policy) {
  return static_cast<Progress>(kHasPolicy + policy);
}

Progress WithNamespace(int policy, int blobNamespace) {
  return static_cast<Progress>(kHasNamespace + policy * (kNamespaces + 1) + blobNamespace);
}

struct Configuration {
  StoredSets stored;
  std::vector<Progress> progress;  // of each operation

  std::string Key() const {
    std::string key(progress.begin(), progress.end());
    return key.append({static_cast<char>(stored.policies), static_cast<char>(stored.datastores)});
  }
};

// One step of an operation.
struct Step {
  StoredSets stored;
  Progress progress;
  bool onlyLooks;  // neither changes what is stored nor keeps what it reads
};

class Search {
 public:
  Search(const History& history, Resets resets) : resets_(resets) {
    // Those that had no effect and gave no answer can always be put somewhere.
    for (const Operation& operation : history) {
      const bool mayBeHalfDone =
          operation.ending == Ending::kNever
              ? operation.call <= Call::kReset
              : operation.call == Call::kReset && resets == Resets::kInTwoSteps;
      if (operation.ending == Ending::kReturned || mayBeHalfDone) operations_.push_back(operation);
    }
  }

  bool Explains(StoredSets initial) {
    return Explains({initial, std::vector<Progress>(operations_.size(), kNotBegun)});
  }

  std::size_t configurations() const { return met_.size(); }

 private:
  bool Explains(const Configuration& configuration) {
    if (!met_.insert(configuration.Key()).second) return false;
    if (IsComplete(configuration)) return true;
    std::vector<Configuration> next;
    const Stamp firstEnd = FirstEnd(configuration);
    for (std::size_t i = 0; i < operations_.size(); ++i) {
      if (configuration.progress[i] == kFinished || operations_[i].start > firstEnd) continue;
      for (const Step& step :
           StepsOf(operations_[i], configuration.progress[i], configuration.stored)) {
        Configuration after = configuration;
        after.stored = step.stored;
        after.progress[i] = step.progress;
        // Whatever explains the rest explains it as well with this step taken now.
        if (step.onlyLooks) return Explains(after);
        next.push_back(after);
      }
    }
    return std::any_of(next.begin(), next.end(),
                       [this](const Configuration& after) { return Explains(after); });
  }

  bool IsComplete(const Configuration& configuration) const {
    for (std::size_t i = 0; i < operations_.size(); ++i) {
      const bool mayBeLeft = operations_[i].ending == Ending::kNever;
      if (configuration.progress[i] != kFinished && !mayBeLeft) return false;
    }
    return true;
  }

  // What begins later than the first unfinished operation ends, comes after it.
  Stamp FirstEnd(const Configuration& configuration) const {
    Stamp first = kNever;
    for (std::size_t i = 0; i < operations_.size(); ++i) {
      if (configuration.progress[i] != kFinished) first = std::min(first, operations_[i].end);
    }
    return first;
  }

  // The next steps that the operation may take; none when its answer is not that of the model.
  std::vector<Step> StepsOf(const Operation& operation, Progress progress,
                            StoredSets stored) const {
    switch (operation.call) {
      case Call::kReplacePolicies:
        return {{{operation.set, stored.datastores}, kFinished, false}};
      case Call::kReplaceDatastores:
        return {{{stored.policies, operation.set}, kFinished, false}};
      case Call::kReset:
        return StepsOfReset(operation, progress, stored);
      case Call::kListPolicies:
        return Look(operation.answer == stored.policies, stored, kFinished);
      case Call::kListDatastores:
        return Look(operation.answer == stored.datastores, stored, kFinished);
      case Call::kDigests:
        return progress == kNotBegun
                   ? Look(operation.answer == stored.policies, stored, kSecondStep)
                   : Look(operation.secondAnswer == stored.datastores, stored, kFinished);
      case Call::kRilkBlobById:
      case Call::kRilkBlobByName:
        return FindBlob(operation, WithNamespace(operation.policy, kRilk), stored);
      case Call::kBlobById:
        return StepsOfLookup(
            operation, progress == kNotBegun ? WithPolicy(operation.policy) : progress, stored);
      case Call::kDefaultBlob:
        break;
    }
    if (progress != kNotBegun) return StepsOfLookup(operation, progress, stored);
    const int policy = DefaultPolicyIn(stored.datastores, operation.datastore);
    if (policy == kNoPolicy) return Look(operation.answer == 0, stored, kFinished);
    return {{stored, WithPolicy(policy), false}};
  }

  std::vector<Step> StepsOfReset(const Operation& operation, Progress progress,
                                 StoredSets stored) const {
    if (resets_ == Resets::kAtOnce) return {{{0, 0}, kFinished, false}};
    const StoredSets noPolicies = {0, stored.datastores};
    if (operation.ending == Ending::kBusy) {  // with the first lock or with the second
      return {{stored, kFinished, false}, {noPolicies, kFinished, false}};
    }
    if (progress == kNotBegun) return {{noPolicies, kSecondStep, false}};
    return {{{stored.policies, 0}, kFinished, false}};
  }

  // Of a lookup that knows the policy, and perhaps the namespace.
  static std::vector<Step> StepsOfLookup(const Operation& operation, Progress progress,
                                         StoredSets stored) {
    if (progress >= kHasNamespace) return FindBlob(operation, progress, stored);
    const int policy = progress - kHasPolicy;
    const int blobNamespace = NamespaceIn(stored.datastores, operation.datastore);
    return {{stored, WithNamespace(policy, blobNamespace), false}};
  }

  static std::vector<Step> FindBlob(const Operation& operation, Progress progress,
                                    StoredSets stored) {
    const int wanted = progress - kHasNamespace;
    const int blob =
        BlobIn(stored.policies, wanted / (kNamespaces + 1), wanted % (kNamespaces + 1));
    return Look(operation.answer == blob, stored, kFinished);
  }

  static std::vector<Step> Look(bool fits, StoredSets stored, Progress progress) {
    if (!fits) return {};
    return {{stored, progress, true}};
  }

  const Resets resets_;
  History operations_;
  std::unordered_set<std::string> met_;
};

}  // namespace

bool IsExplained(const History& history, StoredSets initial, Resets resets,
                 std::size_t* configurations) {
  Search search(history, resets);
  const bool explained = search.Explains(initial);
  if (configurations != nullptr) *configurations += search.configurations();
  return explained;
}

}  // namespace StressTest
