// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_table.h"

namespace Quorctl {

CommandTable MakeCommandTable() {
  CommandTable table;
  table.push_back(MakeStatusCommand());
  table.push_back(MakeListCommand());
  table.push_back(MakeGetCommand());
  table.push_back(MakeBlobCommand());
  table.push_back(MakeDigestCommand());
  table.push_back(MakeWatchCommand());
  table.push_back(MakeExportCommand());
  table.push_back(MakeDiffCommand());
  table.push_back(MakeCheckCommand());
  table.push_back(MakeMetricsCommand());
  table.push_back(MakeApplyCommand());
  table.push_back(MakeResetCommand());
  table.push_back(MakeHistoryCommand());
  table.push_back(MakeRestoreCommand());
  table.push_back(MakeSwitchCommand());
  table.push_back(MakeMigrateCommand());
  table.push_back(MakeHelpCommand());
  return table;
}

}  // namespace Quorctl
