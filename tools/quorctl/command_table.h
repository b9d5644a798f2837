// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The commands of quorctl.
#ifndef TOOLS_QUORCTL_COMMAND_TABLE_H_
#define TOOLS_QUORCTL_COMMAND_TABLE_H_

#include <memory>
#include <string>
#include <vector>

#include "command.h"

namespace Quorctl {

// In the order in which the help lists them.
using CommandTable = std::vector<std::unique_ptr<Command>>;
CommandTable MakeCommandTable();

// Raises UsageError, with the command that may have been meant.
[[noreturn]] void RaiseUnknownCommand(const std::string& word);

// Each in the file of its name under commands/.
std::unique_ptr<Command> MakeStatusCommand();
std::unique_ptr<Command> MakeListCommand();
std::unique_ptr<Command> MakeGetCommand();
std::unique_ptr<Command> MakeBlobCommand();
std::unique_ptr<Command> MakeExplainCommand();
std::unique_ptr<Command> MakeDigestCommand();
std::unique_ptr<Command> MakeWatchCommand();
std::unique_ptr<Command> MakeExportCommand();
std::unique_ptr<Command> MakeDiffCommand();
std::unique_ptr<Command> MakeCheckCommand();
std::unique_ptr<Command> MakeMetricsCommand();
std::unique_ptr<Command> MakeApplyCommand();
std::unique_ptr<Command> MakeHistoryCommand();
std::unique_ptr<Command> MakeRestoreCommand();
std::unique_ptr<Command> MakeMigrateCommand();
std::unique_ptr<Command> MakeEditCommand();
std::unique_ptr<Command> MakeSetCommand();
std::unique_ptr<Command> MakeAddCommand();
std::unique_ptr<Command> MakeDeleteCommand();
std::unique_ptr<Command> MakeRenameCommand();
std::unique_ptr<Command> MakeResetCommand();
std::unique_ptr<Command> MakeSwitchCommand();
std::unique_ptr<Command> MakeHelpCommand();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_COMMAND_TABLE_H_
