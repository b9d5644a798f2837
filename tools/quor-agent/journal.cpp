// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "journal.h"

#include <unistd.h>

#include <cstdlib>

#include "catalogue/text/terminal_text.h"

namespace QuorAgent {

void Log(Severity severity, const std::string& event) {
  static const bool inJournal = secure_getenv("JOURNAL_STREAM") != nullptr;
  std::string line = inJournal ? '<' + std::to_string(static_cast<int>(severity)) + '>' : "";
  line += "quor-agent: " + Quorctl::EscapeForTerminal(event) + '\n';
  const ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
  static_cast<void>(ignored);
}

}  // namespace QuorAgent
