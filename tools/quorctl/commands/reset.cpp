// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "backend_choice.h"
#include "catalogue_change.h"
#include "command_table.h"
#include "host_backend.h"

namespace Quorctl {
namespace {

class ResetCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "reset",
        {ChangeOptions::kSynopsis},
        "delete all policies and datastores",
        "Deletes every policy and every datastore from the store that is selected now.\n"
        "Asks before on a terminal and needs --yes elsewhere (exit status 8). What there was\n"
        "is kept: see \"quorctl help history\". With --no-history also what cannot be read is\n"
        "deleted, and there is no way back.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override { options_.Declare(verb); }

  ExitStatus Run(CommandOutput* output) override {
    ExpectReadable(BackendSwitch());
    StayWithTheBackend();
    ProgressLine progress;
    ChangeRequest request{"reset"};
    request.wipes = true;
    const ChangeResult result = ChangeCatalogue(request, options_, Catalogue(), &progress, output);
    output->text += TextOf(result) + '\n' + NoteOfAnotherBackend();
    return ExitStatus::kDone;
  }

 private:
  static std::string TextOf(ChangeResult result) {
    const std::string place = SelectedBackendPlace();
    switch (result) {
      case ChangeResult::kNothingDiffers:
        return "nothing is stored in " + place + "; nothing was written";
      case ChangeResult::kDryRun:
        return "would delete all policies and datastores from " + place + "; nothing was written";
      default:
        return "deleted all policies and datastores from " + place;
    }
  }

  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeResetCommand() {
  return std::make_unique<ResetCommand>();
}

}  // namespace Quorctl
