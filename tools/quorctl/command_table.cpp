// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_table.h"

#include <map>

#include "catalogue/text/terminal_text.h"
#include "text/suggestion.h"

namespace Quorctl {

CommandTable MakeCommandTable() {
  CommandTable table;
  table.push_back(MakeStatusCommand());
  table.push_back(MakeListCommand());
  table.push_back(MakeGetCommand());
  table.push_back(MakeBlobCommand());
  table.push_back(MakeExplainCommand());
  table.push_back(MakeDigestCommand());
  table.push_back(MakeWatchCommand());
  table.push_back(MakeExportCommand());
  table.push_back(MakeDiffCommand());
  table.push_back(MakeCheckCommand());
  table.push_back(MakeMetricsCommand());
  table.push_back(MakeApplyCommand());
  table.push_back(MakeSetCommand());
  table.push_back(MakeAddCommand());
  table.push_back(MakeDeleteCommand());
  table.push_back(MakeRenameCommand());
  table.push_back(MakeResetCommand());
  table.push_back(MakeHistoryCommand());
  table.push_back(MakeRestoreCommand());
  table.push_back(MakeSwitchCommand());
  table.push_back(MakeMigrateCommand());
  table.push_back(MakeHelpCommand());
  return table;
}

void RaiseUnknownCommand(const std::string& word) {
  // What hands know from other programs.
  static const std::map<std::string, std::string> kElsewhere = {
      {"show", "get"},          {"describe", "get"},     {"ls", "list"},      {"cat", "export"},
      {"dump", "export"},       {"load", "apply"},       {"import", "apply"}, {"log", "history"},
      {"undo", "restore"},      {"rollback", "restore"}, {"verify", "check"}, {"validate", "check"},
      {"version", "--version"}, {"info", "status"},      {"clear", "reset"},  {"edit", "set"},
      {"update", "set"},        {"monitor", "watch"},    {"rm", "delete"},    {"remove", "delete"},
      {"create", "add"},        {"new", "add"},          {"mv", "rename"},    {"why", "explain"}};
  const auto other = kElsewhere.find(word);
  std::vector<std::string> names;
  for (const auto& command : MakeCommandTable())
    names.push_back(command->Info().name);
  throw UsageError("unknown command " + Quoted(word) +
                   (other == kElsewhere.end() ? DidYouMean(word, names)
                                              : "; did you mean " + Quoted(other->second) + '?'));
}

}  // namespace Quorctl
