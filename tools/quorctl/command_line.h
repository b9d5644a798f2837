// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The command line: finds the command, and applies the options that every command has.
#ifndef TOOLS_QUORCTL_COMMAND_LINE_H_
#define TOOLS_QUORCTL_COMMAND_LINE_H_

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "command_table.h"
#include "global_options.h"

namespace Quorctl {

class CommandLine {
 public:
  explicit CommandLine(CommandTable commands);

  // Runs the command that `words` (the arguments after the program's name) name, under the terms
  // of Command::Run().
  ExitStatus Run(const std::vector<std::string>& words, CommandOutput* output);

 private:
  enum class Request { kCommand, kHelp, kVersion };

  ExitStatus RunParsed(const std::vector<std::string>& words, CommandOutput* output);

  // Raises UsageError for words that make no command line.
  Request Parse(const std::vector<std::string>& words);

  std::vector<std::string> Prepared(const std::vector<std::string>& words) const;

  // The option of any command that has this name; null when there is none.
  const CLI::Option* FindOption(const std::string& name) const;

  std::vector<std::string> KnownOptions() const;

  // The command whose verb was given; null when there is none.
  Command* Chosen() const;

  [[noreturn]] void RaiseUnexpectedWord() const;

  CommandTable commands_;
  CLI::App parser_;
  GlobalOptions globalOptions_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_COMMAND_LINE_H_
