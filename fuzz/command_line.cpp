// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any words as command line of quorctl: it is understood, or refused as a usage error or for a host
// directory that is not there. The commands declare their options as ever, but do nothing when they
// are run.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "command_line.h"
#include "command_table.h"
#include "expect.h"

namespace {

using Quorctl::Command;

class IdleCommand : public Command {
 public:
  explicit IdleCommand(std::unique_ptr<Command> command) : command_(std::move(command)) {}

  const Quorctl::CommandInfo& Info() const override { return command_->Info(); }
  void Declare(CLI::App& verb) override { command_->Declare(verb); }
  Quorctl::ExitStatus Run(Quorctl::CommandOutput* /*output*/) override {
    return Quorctl::ExitStatus::kDone;
  }

 private:
  std::unique_ptr<Command> command_;
};

Quorctl::CommandTable IdleCommands() {
  Quorctl::CommandTable table = Quorctl::MakeCommandTable();
  for (auto& command : table)
    command = std::make_unique<IdleCommand>(std::move(command));
  return table;
}

// The words as main() gets them: each ends where the system's would, at a NUL, or at a line feed,
// which makes the seeds readable.
std::vector<std::string> Words(std::string_view text) {
  std::vector<std::string> words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(std::string_view("\n\0", 2)), text.size());
    words.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static Quorctl::CommandLine commandLine(
      IdleCommands());  // making one takes longer than all the rest
  Quorctl::CommandOutput output;
  try {
    const Quorctl::ExitStatus status =
        commandLine.Run(Words({reinterpret_cast<const char*>(data), size}), &output);
    Fuzz::Expect(status == Quorctl::ExitStatus::kDone, "what is understood is done");
  } catch (const Quorctl::CommandError& error) {
    Fuzz::Expect(error.status() == Quorctl::ExitStatus::kUsage ||
                     error.status() == Quorctl::ExitStatus::kNoHost,
                 "what is refused is no command line, or of no host directory");
    Fuzz::Expect(output.text.empty(), "nothing is shown for what is not understood");
  }
  return 0;
}
