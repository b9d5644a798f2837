// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The agent's log: one line per event on standard error, which the service manager stores.
#ifndef TOOLS_QUOR_AGENT_JOURNAL_H_
#define TOOLS_QUOR_AGENT_JOURNAL_H_

#include <string>

namespace QuorAgent {

enum class Severity { kError = 3, kWarning = 4, kInfo = 6 };

// Escapes characters that a terminal acts on. If standard error is the journal, the line begins
// with its severity prefix ("<4>").
void Log(Severity severity, const std::string& event);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_JOURNAL_H_
