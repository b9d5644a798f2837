// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which host store a command works on, from its beginning to its end.
#ifndef TOOLS_QUORCTL_BACKEND_CHOICE_H_
#define TOOLS_QUORCTL_BACKEND_CHOICE_H_

#include <string>

namespace Quorctl {

// Makes this process keep the store that the switch selects now, so that all calls of a command go
// to the same one. Call ExpectReadable() before, which reports problems of the switch.
void StayWithTheBackend();

// A line for the output when the host's switch selects another store than the one that this process
// uses; empty otherwise.
std::string NoteOfAnotherBackend();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_BACKEND_CHOICE_H_
