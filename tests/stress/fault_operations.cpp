// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fault_operations.h"

#include <algorithm>
#include <set>

#include "platform/feature_list.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

using TavQuor::QuorLib;

constexpr int kSwitch = 9;  // one that means nothing to anybody
constexpr char kAddedFile[] = "the file that is added";

bool SaysThatItIsInPlace(const std::string& message) {
  return message.find("the new content is in place") != std::string::npos;
}

bool SaysThatTheSwitchesAreNotFlushed(const std::string& message) {
  return message.find("features: cannot flush: ") != std::string::npos;
}

void Append(const HostPlatform::StoredFile& file, std::string* text) {
  text->append(file.exists ? " exists " : " missing ").append(file.path).append(" ");
  text->append(std::to_string(file.size)).append(" ").append(std::to_string(file.mode));
  text->append(" ").append(file.problem);
}

// The switches as the file has them; a host without it has the built-in ones.
std::string StoredSwitch(const FaultHost& host) {
  const std::string path = host.PathOf("features");
  std::string switches(kFeatureCount, '\0');
  switches[kFeatureQuorUsesConfigStore] = 1;
  return PlatformTest::Exists(path) ? PlatformTest::ReadFile(path) : switches;
}

// What the numbered files hold, each content once.
std::string NumberedFiles(const FaultHost& host) {
  const std::string folder = host.PathOf(FaultHost::kFolder);
  std::set<std::string> contents;
  if (PlatformTest::Exists(folder)) {
    for (const std::string& name : PlatformTest::NamesIn(folder)) {
      if (name.front() != '.') contents.insert(PlatformTest::ReadFile(folder + '/' + name));
    }
  }
  std::string text;
  for (const std::string& content : contents)
    text += content + '\n';
  return text;
}

}  // namespace

std::string Answers::Text() const {
  std::string all = TextOf(policies) + TextOf(datastores) + text + digests.first + digests.second;
  all += (feature.on ? " on " : " off ") + feature.path + ' ' + feature.problem;
  Append(store, &all);
  for (const auto& kind : store.kinds)
    all += ' ' + kind.key + ' ' + std::to_string(kind.objects);
  Append(file, &all);
  for (const auto& lock : locks) {
    Append(lock, &all);
    all += lock.held ? " held" : " free";
  }
  return all;
}

Operations::Operations(const std::string& store, const FaultHost& host, const Catalogue& before,
                       const Catalogue& after)
    : inFile_(store == "file"), host_(host), before_(before), after_(after) {
  AddReplacements();
  AddListings();
  AddLookups();
  AddSwitches();
  AddStates();
  AddNumberedFiles();
}

Operation& Operations::Add(std::string name, Start start, std::function<void(Answers*)> call) {
  Operation operation;
  operation.name = std::move(name);
  operation.start = start;
  operation.call = std::move(call);
  operation.state = &StoredCatalogue;
  operation.saysThatItIsIn = &SaysThatItIsInPlace;
  all_.push_back(std::move(operation));
  return all_.back();
}

void Operations::AddReplacements() {
  Operation& init = Add("Init", Start::kUnknown, [](Answers*) { QuorLib::Init(); });
  init.asksTheSystem = init.allocates = false;
  // Without a directory a group is looked up, in two hundred calls: once is enough.
  for (const Start start :
       {Start::kUnknown, Start::kLeftOver, Start::kEmptyDirectory, Start::kNoDirectory}) {
    Add("AddPolicyInfo", start, [this](Answers*) { QuorLib::AddPolicyInfo(after_.policies); });
  }
  Add("AddDatastoreInfo", Start::kUnknown,
      [this](Answers*) { QuorLib::AddDatastoreInfo(after_.datastores); });
  Operation& reset = Add("Reset", Start::kUnknown, [](Answers*) { QuorLib::Reset(); });
  // In the file the two sets are emptied one after the other.
  if (inFile_) reset.stepsBetween = {'|' + TextOf(before_.datastores)};
  Add("Reset", Start::kEmptyDirectory, [](Answers*) { QuorLib::Reset(); });
}

void Operations::AddListings() {
  for (const Start start : {Start::kKnown, Start::kUnknown, Start::kNoDirectory}) {
    Operation& policies = Add("ListPolicyInfo", start, [](Answers* answers) {
      answers->policies = QuorLib::ListPolicyInfo();
    });
    policies.listsPolicies = true;
    Add("ListDatastoreInfo", start,
        [](Answers* answers) { answers->datastores = QuorLib::ListDatastoreInfo(); });
    Operation& digests =
        Add("GetDbHash", start, [](Answers* answers) { answers->digests = QuorLib::GetDbHash(); });
    digests.formatsDigests = digests.listsPolicies = true;
  }
}

void Operations::AddLookups() {
  for (const Start start : {Start::kKnown, Start::kUnknown, Start::kNoDirectory}) {
    Add("GetRilkPolicyBlobById", start, [this](Answers* answers) {
      answers->text = QuorLib::GetRilkPolicyBlobById(before_.policies.back().policyId);
    });
    Add("GetRilkPolicyBlobByName", start, [this](Answers* answers) {
      answers->text = QuorLib::GetRilkPolicyBlobByName(before_.policies.back().name);
    });
    Add("GetDefaultPolicyBlob", start, [this](Answers* answers) {
      answers->text = QuorLib::GetDefaultPolicyBlob(before_.datastores.front().url);
    });
    Add("GetPolicyBlobById", start, [this](Answers* answers) {
      answers->text = QuorLib::GetPolicyBlobById(before_.policies.back().policyId,
                                                 before_.datastores.front().url);
    });
  }
}

void Operations::AddSwitches() {
  for (const Start start : {Start::kUnknown, Start::kEmptyDirectory}) {
    Operation& set =
        Add("SetFeature", start, [](Answers*) { HostPlatform::SetFeature(kSwitch, true); });
    set.raises = Raises::kSystemError;
    set.state = [this] { return StoredSwitch(host_); };
    set.saysThatItIsIn = &SaysThatTheSwitchesAreNotFlushed;
  }
  Operation& get = Add("GetFeature", Start::kUnmapped, [](Answers* answers) {
    answers->feature = HostPlatform::GetFeature(kFeatureQuorUsesConfigStore);
  });
  get.raises = Raises::kNothing;
  get.saysWhatIsWrong = [](const Answers& answers) {
    return !answers.feature.mapped && !answers.feature.problem.empty();
  };
  Operation& use = Add("UseHostDirectory", Start::kUnknown,
                       [path = host_.path()](Answers*) { HostPlatform::UseHostDirectory(path); });
  use.raises = Raises::kNothing;
  // Whether it has mapped the switches or not, the catalogue is there when it has.
  use.state = get.state = [path = host_.path()] {
    HostPlatform::UseHostDirectory(path);
    return StoredCatalogue();
  };
  Operation& override = Add("OverrideFeature", Start::kUnknown, [this](Answers*) {
    HostPlatform::OverrideFeature(kFeatureQuorUsesConfigStore, !inFile_);
  });
  override.raises = Raises::kNothing;
  override.allocates = false;
}

void Operations::AddStates() {
  Operation& store = Add("GetConfigStoreState", Start::kUnknown, [](Answers* answers) {
    answers->store = HostPlatform::GetConfigStoreState();
  });
  store.saysWhatIsWrong = [](const Answers& answers) { return !answers.store.problem.empty(); };
  Operation& file = Add("GetConfigFileState", Start::kUnknown, [](Answers* answers) {
    answers->file = HostPlatform::GetConfigFileState();
  });
  file.saysWhatIsWrong = [](const Answers& answers) { return !answers.file.problem.empty(); };
  Operation& locks = Add("GetLockStates", Start::kUnknown,
                         [](Answers* answers) { answers->locks = HostPlatform::GetLockStates(); });
  locks.saysWhatIsWrong = [](const Answers& answers) {
    return std::any_of(answers.locks.begin(), answers.locks.end(),
                       [](const auto& lock) { return !lock.problem.empty(); });
  };
  for (Operation* const operation : {&store, &file, &locks})
    operation->raises = Raises::kNothing;
}

void Operations::AddNumberedFiles() {
  for (const Start start : {Start::kUnknown, Start::kEmptyDirectory}) {
    Operation& add = Add("AddNumberedFile", start, [this](Answers*) {
      HostPlatform::AddNumberedFile(FaultHost::kFolder, suffix_, kAddedFile);
    });
    add.raises = Raises::kSystemError;
    add.state = [this] { return NumberedFiles(host_); };
  }
}

}  // namespace StressTest
