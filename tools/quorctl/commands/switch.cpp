// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "catalogue/digests.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "confirmation.h"
#include "host_backend.h"
#include "platform/feature_list.h"
#include "quor/quor_lib.h"
#include "stored_records.h"
#include "text/table.h"

namespace Quorctl {

using TavQuor::QuorLib;

namespace {

constexpr char kStore[] = "store";
constexpr char kFile[] = "file";

// What one of the two stores would answer.
struct Contents {
  std::string inWords;
  Digests digests;
  std::string problem;  // why it cannot be read, or not all of it; mostly empty
};

Contents ContentsOf(bool inStore) {
  UseBackend(inStore);
  Contents contents;
  try {
    const StoredRecords stored;
    const std::size_t policies = QuorLib::ListPolicyInfo().size();
    const std::size_t datastores = QuorLib::ListDatastoreInfo().size();
    contents.digests = QuorLib::GetDbHash();
    contents.inWords = CountedRecords(policies, datastores);
    if (policies + datastores > 0) {
      contents.inWords += ", digests " + contents.digests.first + ':' + contents.digests.second;
    }
    stored.ExpectPolicies(policies);
    stored.ExpectDatastores(datastores);
  } catch (...) {
    contents.problem = DescribeCurrentException().message;
    if (contents.inWords.empty()) contents.inWords = "cannot be read";
  }
  return contents;
}

class SwitchCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "switch",
        {"", "[--yes] store|file"},
        "show or choose which host store keeps the catalogue",
        "Without an argument prints \"store\" or \"file\": the host store that keeps the\n"
        "catalogue now. With one, selects it for the whole host; running programs use it\n"
        "from their next call on. No record is copied from one to the other: see \"quorctl\n"
        "help migrate\". Shows what both hold. Where the selected one holds another catalogue\n"
        "than the one in use, or cannot be read, this is asked for on a terminal and needs\n"
        "--yes elsewhere (exit status 8).\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    choice_.Declare(verb, "CHOICE", "",
                    "store: the configuration store; file: the configuration file");
    choice_.OfferChoices("store file");
    DeclareFlag(verb, "--yes", &confirmed_, "select it whatever it holds");
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!choice_.Given()) {
      const HostPlatform::FeatureState now = BackendSwitch();
      ExpectReadable(now);
      output->text += std::string(now.on ? kStore : kFile) + '\n';
      return ExitStatus::kDone;
    }
    const bool chosen = IsStoreChosen(choice_.Value());
    const HostPlatform::FeatureState now = BackendSwitch();
    ExpectReadable(now);
    if (chosen != now.on) ExpectSameAnswers(chosen, output);
    Select(chosen);
    output->changedHost = true;
    output->text += "selected " + SelectedBackendPlace() + '\n';
    return ExitStatus::kDone;
  }

 private:
  // Raises CommandError (kNotConfirmed) where programs would get other answers and nobody wants so.
  void ExpectSameAnswers(bool chosen, CommandOutput* output) const {
    const Contents present = ContentsOf(!chosen);
    const Contents next = ContentsOf(chosen);
    HostPlatform::UseHostDirectory(HostPlatform::HostDirectory());  // the host's switch again
    LabelledLines lines;
    lines.Add(BackendName(!chosen) + ':', present.inWords);
    if (!present.problem.empty()) lines.Add("  problem:", present.problem);
    lines.Add(BackendName(chosen) + ':', next.inWords);
    if (!next.problem.empty()) lines.Add("  problem:", next.problem);
    output->text += lines.Text();
    if (confirmed_ || (next.problem.empty() && next.digests == present.digests)) return;
    const std::string what =
        "the " + BackendName(chosen) +
        (next.problem.empty() ? " holds another catalogue than the " + BackendName(!chosen)
                              : std::string(" cannot be read")) +
        ", and all programs would ask it";
    if (!CanAsk()) {
      throw CommandError(ExitStatus::kNotConfirmed,
                         what + "; nothing was changed; \"quorctl migrate --to " +
                             (chosen ? kStore : kFile) +
                             "\" copies the catalogue first, --yes selects it as it is");
    }
    AskOrRefuse(what + ". Select it?", &output->text);
  }

  static void Select(bool usesConfigStore) {
    HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, usesConfigStore);
    const HostPlatform::FeatureState now = BackendSwitch();
    if (now.on == usesConfigStore) return;
    throw CommandError(ExitStatus::kStore, "the switch was written to " + now.path +
                                               " but is not in effect" +
                                               (now.problem.empty() ? "" : ": " + now.problem));
  }

  Argument choice_;
  bool confirmed_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeSwitchCommand() {
  return std::make_unique<SwitchCommand>();
}

}  // namespace Quorctl
