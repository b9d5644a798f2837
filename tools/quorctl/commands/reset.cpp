#include "command_table.h"
#include "host_backend.h"
#include "quor/quor_lib.h"

namespace Quorctl {
namespace {

class ResetCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "reset",
        {"--yes"},
        "delete all policies and datastores",
        "Deletes every policy and every datastore from the store that is selected now.\n"
        "There is no way back: keep a copy (\"quorctl help list\" tells how) before.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    verb.add_flag("--yes", confirmed_, "confirm that everything is to be deleted");
  }

  ExitStatus Run(CommandOutput* output) override {
    const std::string place = SelectedBackendPlace();
    if (!confirmed_) {
      throw CommandError(ExitStatus::kNotConfirmed,
                         "reset would delete all policies and datastores from " + place +
                             "; nothing was changed; confirm with --yes");
    }
    TavQuor::QuorLib::Reset();
    output->changedHost = true;
    output->text += "deleted all policies and datastores from " + place + '\n';
    return ExitStatus::kDone;
  }

 private:
  bool confirmed_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeResetCommand() {
  return std::make_unique<ResetCommand>();
}

}  // namespace Quorctl
