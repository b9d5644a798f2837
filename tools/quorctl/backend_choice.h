// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which host store a command works on, from its beginning to its end.
#ifndef TOOLS_QUORCTL_BACKEND_CHOICE_H_
#define TOOLS_QUORCTL_BACKEND_CHOICE_H_

#include <string>

namespace Quorctl {

// Keeps this process at the store that the switch selects now, so that all calls of a command ask
// the same one. What is wrong with the switch has to be asked for before: see ExpectReadable().
void StayWithTheBackend();

// A line for the output when the host's switch selects another store than the one that this process
// uses; empty otherwise.
std::string NoteOfAnotherBackend();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_BACKEND_CHOICE_H_
