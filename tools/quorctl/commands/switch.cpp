// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "argument.h"
#include "command_table.h"
#include "host_backend.h"
#include "platform/feature_list.h"

namespace Quorctl {
namespace {

constexpr char kStore[] = "store";
constexpr char kFile[] = "file";

class SwitchCommand final : public Command {
 public:
  const CommandInfo& Info() const override {
    static const CommandInfo info = {
        "switch",
        {"", "store|file"},
        "show or choose which host store keeps the catalogue",
        "Without an argument prints \"store\" or \"file\": the host store that keeps the\n"
        "catalogue now. With one, selects it for the whole host; running programs use it\n"
        "from their next call on. No record is copied from one to the other.\n",
    };
    return info;
  }

  void Declare(CLI::App& verb) override {
    choice_.Declare(verb, "CHOICE", "",
                    "store: the configuration store; file: the configuration file");
  }

  ExitStatus Run(CommandOutput* output) override {
    if (!choice_.Given()) {
      const HostPlatform::FeatureState now = BackendSwitch();
      ExpectReadable(now);
      output->text += std::string(now.on ? kStore : kFile) + '\n';
      return ExitStatus::kDone;
    }
    Select(IsStoreChosen(choice_.Value()));
    output->changedHost = true;
    output->text += "selected " + SelectedBackendPlace() + '\n';
    return ExitStatus::kDone;
  }

 private:
  static void Select(bool usesConfigStore) {
    ExpectReadable(BackendSwitch());
    HostPlatform::SetFeature(kFeatureQuorUsesConfigStore, usesConfigStore);
    const HostPlatform::FeatureState now = BackendSwitch();
    if (now.on == usesConfigStore) return;
    throw CommandError(ExitStatus::kStore, "the switch was written to " + now.path +
                                               " but is not in effect" +
                                               (now.problem.empty() ? "" : ": " + now.problem));
  }

  Argument choice_;
};

}  // namespace

std::unique_ptr<Command> MakeSwitchCommand() {
  return std::make_unique<SwitchCommand>();
}

}  // namespace Quorctl
