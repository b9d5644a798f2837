// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A file that the operator named.
#ifndef TOOLS_QUOR_AGENT_FILE_TEXT_H_
#define TOOLS_QUOR_AGENT_FILE_TEXT_H_

#include <string>

namespace QuorAgent {

// Raises std::system_error with the path.
std::string ReadFileText(const std::string& path);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_FILE_TEXT_H_
