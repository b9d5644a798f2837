#include <cstdio>
#include <ctime>
#include <tuple>

#include "command_table.h"
#include "host_backend.h"
#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "stored_records.h"
#include "text/table.h"

namespace Quorctl {

using HostPlatform::FeatureState;
using HostPlatform::StoredFile;
using TavQuor::QuorLib;

namespace {

std::string UtcTime(std::int64_t secondsSinceEpoch) {
  const std::time_t seconds = secondsSinceEpoch;
  std::tm parts = {};
  char text[64] = {};
  if (!gmtime_r(&seconds, &parts)) return std::to_string(secondsSinceEpoch) + " s since 1970";
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d UTC", parts.tm_year + 1900,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  return text;
}

std::string Octal(std::uint32_t mode) {
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

void AddFile(const StoredFile& state, LabelledLines* lines) {
  const bool nothingStored = !state.exists && state.problem.empty();
  lines->Add("stored in:", state.path + (nothingStored ? " (nothing stored yet)" : ""));
  if (state.exists) {
    lines->Add("  size:", std::to_string(state.size) + " bytes");
    lines->Add("  owner:", state.owner + ':' + state.group);
    lines->Add("  mode:", Octal(state.mode));
    lines->Add("  modified:", UtcTime(state.modified));
  }
  if (!state.problem.empty()) lines->Add("  problem:", state.problem);
}

// What the library answers, so that it is what every program on the host gets.
struct Answers {
  std::size_t policies = 0;
  std::size_t datastores = 0;
  std::string policyDigest;
  std::string datastoreDigest;
};

Answers AskLibrary() {
  Answers answers;
  answers.policies = QuorLib::ListPolicyInfo().size();
  answers.datastores = QuorLib::ListDatastoreInfo().size();
  std::tie(answers.policyDigest, answers.datastoreDigest) = QuorLib::GetDbHash();
  return answers;
}

void AddAnswers(const Answers& answers, LabelledLines* lines) {
  const auto withDigest = [](std::size_t count, const std::string& digest) {
    return std::to_string(count) + (digest.empty() ? "" : ", digest " + digest);
  };
  lines->Add("policies:", withDigest(answers.policies, answers.policyDigest));
  lines->Add("datastores:", withDigest(answers.datastores, answers.datastoreDigest));
}

StoredFile SelectedFile(bool usesConfigStore) {
  if (!usesConfigStore) return HostPlatform::GetConfigFileState();
  const HostPlatform::ConfigStoreState state = HostPlatform::GetConfigStoreState();
  const StoredFile& file = state;  // the kinds of its records are not shown
  return file;
}

class StatusCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "status",
        {""},
        "show where the catalogue is kept and in which state",
        "Shows which host store keeps the catalogue and why, the files on disk, how many\n"
        "records there are with the digests over them, and how long a writer waits for\n"
        "another one. Writes nothing.\n",
    };
    return info;
  }

  void Declare(CLI::App& /*verb*/) override {}

  ExitStatus Run(CommandOutput* output) override {
    const StoredRecords stored;
    LabelledLines lines;
    const FeatureState backend = BackendSwitch();
    const StoredFile file = SelectedFile(backend.on);
    lines.Add("host directory:", HostPlatform::HostDirectory());
    AddSwitch(backend, &lines);
    AddFile(file, &lines);
    lines.Add("lock deadline:", std::to_string(HostPlatform::LockTimeout()) + " ms");
    Answers answers;
    try {
      answers = AskLibrary();
      AddAnswers(answers, &lines);
    } catch (...) {
      output->text += lines.Text();  // all that could be found out
      throw;
    }
    output->text += lines.Text();
    stored.ExpectPolicies(answers.policies);
    stored.ExpectDatastores(answers.datastores);
    if (!file.problem.empty()) throw CommandError(ExitStatus::kStore, file.problem);
    ExpectReadable(backend);
    return ExitStatus::kDone;
  }
};

}  // namespace

std::unique_ptr<Command> MakeStatusCommand() {
  return std::make_unique<StatusCommand>();
}

}  // namespace Quorctl
