// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "help.h"

#include "argument.h"
#include "command_table.h"

namespace Quorctl {
namespace {

class HelpCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "help",
        {"[COMMAND]"},
        "explain quorctl or one of its commands",
        "Prints what quorctl or one of its commands does, takes and answers.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    verb_.Declare(verb, "COMMAND", "", "the command to explain");
  }

  ExitStatus Run(CommandOutput* output) override {
    output->text += verb_.Given() ? CommandHelp(verb_.Value()) : GeneralHelp();
    return ExitStatus::kDone;
  }

 private:
  Argument verb_;
};

}  // namespace

std::unique_ptr<Command> MakeHelpCommand() {
  return std::make_unique<HelpCommand>();
}

}  // namespace Quorctl
