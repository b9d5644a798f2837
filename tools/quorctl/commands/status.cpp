// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <system_error>

#include "argument.h"
#include "catalogue/digests.h"
#include "catalogue/text/json_text.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "history.h"
#include "host_backend.h"
#include "interrupted_change.h"
#include "managed_host.h"
#include "option_values.h"
#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "stored_records.h"
#include "text/table.h"
#include "text/utc_time.h"

namespace Quorctl {

using HostPlatform::FeatureState;
using HostPlatform::StoredFile;
using nlohmann::ordered_json;
using TavQuor::QuorLib;

namespace {

std::string ModeInOctal(std::uint32_t mode) {
  char text[16] = {};
  std::snprintf(text, sizeof text, "%04o", mode);
  return text;
}

void AddSwitch(const FeatureState& state, LabelledLines* lines) {
  lines->Add("backend:", BackendName(state.on));
  std::string reason = "feature switch " + std::to_string(kFeatureQuorUsesConfigStore) +
                       (state.on ? " is on " : " is off ");
  if (state.mapped) {
    reason += "in " + state.path;
  } else {
    reason += "by default, " +
              (state.problem.empty() ? "there is no " + state.path : state.path + " is not in use");
  }
  lines->Add("chosen by:", reason);
  if (!state.problem.empty()) lines->Add("problem:", state.problem);
}

StoredFile StateOf(bool configStore) {
  if (!configStore) return HostPlatform::GetConfigFileState();
  const HostPlatform::ConfigStoreState state = HostPlatform::GetConfigStoreState();
  const StoredFile& file = state;  // the kinds of its records are not shown
  return file;
}

// The users who can reach and read the file. Root always can.
std::string Readers(const StoredFile& file) {
  struct stat directory;
  struct stat status;
  if (stat(HostPlatform::HostDirectory().c_str(), &directory) != 0 ||
      stat(file.path.c_str(), &status) != 0) {
    return "root; who else cannot be told";
  }
  const mode_t mode = status.st_mode;
  if ((mode & S_IROTH) != 0 && (directory.st_mode & S_IXOTH) != 0) return "everybody";
  std::string readers = "root";
  if ((mode & S_IRUSR) != 0 && status.st_uid != 0) readers += ", user " + file.owner;
  const bool groupEnters = (directory.st_mode & S_IXGRP) != 0 && directory.st_gid == status.st_gid;
  if ((mode & S_IRGRP) != 0 && groupEnters) readers += ", group " + file.group;
  return readers;
}

void AddFile(const StoredFile& state, LabelledLines* lines) {
  const bool nothingStored = !state.exists && state.problem.empty();
  lines->Add("stored in:", state.path + (nothingStored ? " (nothing stored yet)" : ""));
  if (state.exists) {
    lines->Add("  size:", std::to_string(state.size) + " bytes");
    lines->Add("  owner:", state.owner + ':' + state.group);
    lines->Add("  mode:", ModeInOctal(state.mode));
    lines->Add("  readable by:", Readers(state));
    lines->Add("  modified:", UtcTime(state.modified));
  }
  if (!state.problem.empty()) lines->Add("  problem:", state.problem);
}

// Returns "16 policies and 20 datastores". Waits only briefly for a lock: the counts are a side
// note.
std::string CountsOfStore(bool configStore) {
  const bool used = BackendSwitch().on;
  const std::uint32_t timeout = HostPlatform::LockTimeout();
  UseBackend(configStore);
  WaitBriefly();
  std::string counts = "its records cannot be counted";
  try {
    const std::size_t policies = QuorLib::ListPolicyInfo().size();
    counts = CountedRecords(policies, QuorLib::ListDatastoreInfo().size());
  } catch (const Brisk::Lib::BriskException&) {
    // Its problem is told, or it is locked.
  }
  HostPlatform::UseLockTimeout(timeout);
  UseBackend(used);
  return counts;
}

// The records in the store that is not in use, which would be the catalogue after a switch.
void AddOtherFile(bool usesConfigStore, LabelledLines* lines) {
  const StoredFile other = StateOf(!usesConfigStore);
  std::string size = "nothing stored";
  if (other.exists) {
    size = std::to_string(other.size) + " bytes, " + CountsOfStore(!usesConfigStore);
  }
  if (!other.problem.empty()) size = "cannot be read: " + other.problem;
  lines->Add("not in use:", other.path + " (" + size + ")");
}

void AddHistory(LabelledLines* lines) {
  try {
    const std::size_t kept = ListHistory().size();
    lines->Add("history:", std::to_string(kept) +
                               (kept == 1 ? " catalogue in " : " catalogues in ") +
                               HistoryDirectory());
    for (const HistoryEntry& entry : ListInterrupted()) {
      lines->Add("interrupted:", DescribeInterrupted(entry));
      lines->Add("", AdviceOnInterrupted(entry));
    }
  } catch (const std::system_error& failure) {
    lines->Add("history:", std::string("cannot be read: ") + failure.what());
  }
}

// Counts and digests by the library's calls, so they are what every program on the host gets.
struct Answers {
  std::size_t policies = 0;
  std::size_t datastores = 0;
  Digests digests;
};

void AddAnswers(const Answers& answers, LabelledLines* lines) {
  const auto withDigest = [](std::size_t count, const std::string& digest) {
    return std::to_string(count) + (digest.empty() ? "" : ", digest " + digest);
  };
  lines->Add("policies:", withDigest(answers.policies, answers.digests.first));
  lines->Add("datastores:", withDigest(answers.datastores, answers.digests.second));
}

ordered_json AsJson(const StoredFile& file) {
  ordered_json object = {{"path", BytesAsJson(file.path)}, {"exists", file.exists}};
  if (file.exists) {
    object["size"] = file.size;
    object["owner"] = file.owner;
    object["group"] = file.group;
    object["mode"] = ModeInOctal(file.mode);
    object["modified"] = ExtendedUtcTime(CompactUtcTime(file.modified)).value_or("");
  }
  if (!file.problem.empty()) object["problem"] = BytesAsJson(file.problem);
  return object;
}

ordered_json AsJson(const FeatureState& backend) {
  ordered_json object = {{"hostDirectory", BytesAsJson(HostPlatform::HostDirectory())},
                         {"store", backend.on ? "store" : "file"},
                         {"switchFile", backend.mapped},
                         {"lockTimeoutMs", HostPlatform::LockTimeout()},
                         {"file", AsJson(StateOf(backend.on))},
                         {"otherFile", AsJson(StateOf(!backend.on))},
                         {"history", ListHistory().size()},
                         {"interrupted", ordered_json::array()}};
  if (const std::string state = StateOfAgent(); !state.empty()) {
    object["agentState"] = BytesAsJson(state);
  }
  if (!backend.problem.empty()) object["problem"] = BytesAsJson(backend.problem);
  for (const HistoryEntry& entry : ListInterrupted())
    object["interrupted"].push_back(DescribeInterrupted(entry));
  return object;
}

void AddAnswers(const Answers& answers, ordered_json* object) {
  (*object)["policies"] = answers.policies;
  (*object)["datastores"] = answers.datastores;
  (*object)["policyDigest"] = answers.digests.first;
  (*object)["datastoreDigest"] = answers.digests.second;
}

// Collects the lines found so far, which are printed even if a later part raises.
class StatusText {
 public:
  StatusText(const FeatureState& backend, const StoredFile& file, bool json) : json_(json) {
    if (json_) {
      object_ = AsJson(backend);
      return;
    }
    lines_.Add("host directory:", HostPlatform::HostDirectory());
    if (const std::string state = StateOfAgent(); !state.empty()) {
      lines_.Add("kept equal by:", "quor-agent, state in " + state);
    }
    AddSwitch(backend, &lines_);
    AddFile(file, &lines_);
    AddOtherFile(backend.on, &lines_);
    AddHistory(&lines_);
    lines_.Add("lock deadline:", std::to_string(HostPlatform::LockTimeout()) + " ms");
  }

  void Add(const Answers& answers) {
    json_ ? AddAnswers(answers, &object_) : AddAnswers(answers, &lines_);
  }

  std::string Text() const { return json_ ? IndentedJson(object_) + '\n' : lines_.Text(); }

 private:
  bool json_;
  ordered_json object_;
  LabelledLines lines_;
};

class StatusCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "status",
        {"[-o table|json]"},
        "show where the catalogue is kept and in which state",
        "Shows which host store keeps the catalogue and why, the files on disk and who may\n"
        "read them, how many records there are with the digests over them, how many replaced\n"
        "catalogues are kept, and how long a writer waits for another one. Writes nothing.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    format_.Declare(verb, "-o,--output", "FORMAT", "table or json");
    format_.OfferChoices("table json");
  }

  ExitStatus Run(CommandOutput* output) override {
    const bool json = IsJson(format_);
    const FeatureState backend = BackendSwitch();
    UseBackend(backend.on);  // all that follows tells of the same store
    const StoredRecords stored;
    const StoredFile file = StateOf(backend.on);
    StatusText text(backend, file, json);
    Answers answers;
    try {
      answers = {QuorLib::ListPolicyInfo().size(), QuorLib::ListDatastoreInfo().size(),
                 QuorLib::GetDbHash()};
      text.Add(answers);
    } catch (...) {
      output->text += text.Text();  // all that could be found out
      throw;
    }
    output->text += text.Text();
    stored.ExpectPolicies(answers.policies);
    stored.ExpectDatastores(answers.datastores);
    if (!file.problem.empty()) throw CommandError(ExitStatus::kStore, file.problem);
    ExpectReadable(backend);
    return ExitStatus::kDone;
  }

 private:
  Argument format_;
};

}  // namespace

std::unique_ptr<Command> MakeStatusCommand() {
  return std::make_unique<StatusCommand>();
}

}  // namespace Quorctl
