// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_table.h"
#include "record_edit.h"

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
    ChangeRequest request{"reset", "delete all policies and datastores from",
                          "deleted all policies and datastores from", "nothing is stored in"};
    request.wipes = true;
    const auto empty = [](Catalogue* catalogue) { *catalogue = Catalogue(); };
    return EditCatalogue(request, options_, empty, output);
  }

 private:
  ChangeOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeResetCommand() {
  return std::make_unique<ResetCommand>();
}

}  // namespace Quorctl
