// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Runs work on the host's catalogue in a child process, so that its memory is returned afterwards:
// in the agent's own process the library would keep the records that it has read.
#ifndef TOOLS_QUOR_AGENT_CHILD_WORK_H_
#define TOOLS_QUOR_AGENT_CHILD_WORK_H_

#include <functional>
#include <string>

namespace QuorAgent {

// What `work` returns. Raises std::runtime_error with the message of what it raised, or when the
// child ended before. The child is killed when this process ends; it shares the lock of the state
// directory until then. It is to leave the connection to the centre alone.
std::string InChild(const std::function<std::string()>& work);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_CHILD_WORK_H_
