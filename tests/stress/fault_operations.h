// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the fault loop calls: every entry point of the library, and what the platform's
// administration does on the disk.
#ifndef TESTS_STRESS_FAULT_OPERATIONS_H_
#define TESTS_STRESS_FAULT_OPERATIONS_H_

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "fault_catalogue.h"
#include "fault_host.h"
#include "platform/admin.h"
#include "quor/quor_lib.h"

namespace StressTest {

// What a call has returned, each in the field of its type.
struct Answers {
  std::vector<TavQuor::QuorPolicyInfo> policies;
  std::vector<TavQuor::QuorDatastoreInfo> datastores;
  std::string text;
  std::pair<std::string, std::string> digests;
  HostPlatform::FeatureState feature;
  HostPlatform::ConfigStoreState store;
  HostPlatform::StoredFile file;
  std::vector<HostPlatform::LockState> locks;

  std::string Text() const;
};

// What an operation may raise besides std::bad_alloc.
enum class Raises { kNothing, kFailureOfTheStore, kSystemError };

struct Operation {
  std::string name;
  Start start;
  std::function<void(Answers*)> call;
  Raises raises = Raises::kFailureOfTheStore;

  bool asksTheSystem = true;    // so that there must be calls to fail
  bool allocates = true;        // and allocations
  bool formatsDigests = false;  // memory that runs out in the formatters ends the process
  bool listsPolicies = false;   // one whose blob cannot be decoded may be left out

  // What is stored, as a text; for a change the texts that it leads through, the old one first and
  // the new one last. Found by the loop where there is no step between.
  std::function<std::string()> state;
  std::vector<std::string> stepsBetween;
  // Whether the message of a failure says that there was a change all the same.
  std::function<bool(const std::string& message)> saysThatItIsIn;
  // Whether an answer that is not the right one says why. None where there is no such thing.
  std::function<bool(const Answers&)> saysWhatIsWrong;
};

// All of them, with each start that makes a difference.
class Operations {
 public:
  // `after` is the catalogue that replaces `before`, which is stored. All of these are kept.
  Operations(const std::string& store, const FaultHost& host, const Catalogue& before,
             const Catalogue& after);
  Operations(const Operations&) = delete;
  Operations& operator=(const Operations&) = delete;

  const std::deque<Operation>& all() const { return all_; }

 private:
  Operation& Add(std::string name, Start start, std::function<void(Answers*)> call);
  void AddReplacements();
  void AddListings();
  void AddLookups();
  void AddSwitches();
  void AddStates();
  void AddNumberedFiles();

  const bool inFile_;
  const FaultHost& host_;
  const Catalogue& before_;
  const Catalogue& after_;
  const std::string suffix_ = ".json";
  std::deque<Operation> all_;
};

}  // namespace StressTest

#endif  // TESTS_STRESS_FAULT_OPERATIONS_H_
