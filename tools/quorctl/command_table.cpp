// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_table.h"

#include <map>

#include "catalogue/text/suggestion.h"
#include "catalogue/text/terminal_text.h"

namespace Quorctl {

CommandTable MakeCommandTable() {
  CommandTable table;
  for (const auto make :
       {MakeStatusCommand,  MakeListCommand,    MakeGetCommand,     MakeBlobCommand,
        MakeExplainCommand, MakeDigestCommand,  MakeWatchCommand,   MakeExportCommand,
        MakeDiffCommand,    MakeCheckCommand,   MakeMetricsCommand, MakeApplyCommand,
        MakeEditCommand,    MakeSetCommand,     MakeAddCommand,     MakeDeleteCommand,
        MakeRenameCommand,  MakeResetCommand,   MakeHistoryCommand, MakeRestoreCommand,
        MakeSwitchCommand,  MakeMigrateCommand, MakeHelpCommand})
    table.push_back(make());
  return table;
}

void RaiseUnknownCommand(const std::string& word) {
  // What hands know from other programs.
  static const std::map<std::string, std::string> kElsewhere = {
      {"show", "get"},          {"describe", "get"},  {"ls", "list"},
      {"cat", "export"},        {"dump", "export"},   {"load", "apply"},
      {"import", "apply"},      {"log", "history"},   {"undo", "restore"},
      {"rollback", "restore"},  {"verify", "check"},  {"validate", "check"},
      {"version", "--version"}, {"info", "status"},   {"clear", "reset"},
      {"update", "set"},        {"monitor", "watch"}, {"rm", "delete"},
      {"remove", "delete"},     {"create", "add"},    {"new", "add"},
      {"mv", "rename"},         {"why", "explain"}};
  const auto other = kElsewhere.find(word);
  std::vector<std::string> names;
  for (const auto& command : MakeCommandTable())
    names.push_back(command->Info().name);
  throw UsageError("unknown command " + Quoted(word) +
                   (other == kElsewhere.end() ? DidYouMean(word, names)
                                              : "; did you mean " + Quoted(other->second) + '?'));
}

}  // namespace Quorctl
