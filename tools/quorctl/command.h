// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Interface of a command to the command line and to the help.
#ifndef TOOLS_QUORCTL_COMMAND_H_
#define TOOLS_QUORCTL_COMMAND_H_

#include <string>
#include <vector>

#include "exit_status.h"

namespace CLI {
class App;
}

namespace Quorctl {

struct RecordLayout;

struct CommandInfo {
  std::string name;
  std::vector<std::string> synopses;  // each the words after the name
  std::string summary;                // one line without a full stop
  std::string description;            // lines for a terminal
};

struct CommandOutput {
  std::string text;          // for standard output; written also when the command fails
  bool changedHost = false;  // a change was made that is to be known even if the text is lost
};

class Command {
 public:
  Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;
  virtual ~Command() = default;

  virtual const CommandInfo& Info() const = 0;

  // Adds the command's options and words to its part of the parser.
  virtual void Declare(CLI::App& verb) = 0;

  // Whether it may make a host directory that is named and not there.
  virtual bool MakesHost() const { return false; }

  // The layout of the records that the command lists, where `kind` is the first word after the
  // verb. Null if it lists none.
  virtual const RecordLayout* Lists(const std::string& /*kind*/) const { return nullptr; }

  // Does the work. Failures are raised.
  virtual ExitStatus Run(CommandOutput* output) = 0;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_COMMAND_H_
