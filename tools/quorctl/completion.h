// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a shell offers where a command line of quorctl is completed. Both shells ask for it by
//
//   quorctl __complete [WORD]... TYPED
//
// with the words as quorctl would get them, up to the cursor. The answer:
//
//   files, directories, no-space or an empty line   what the shell completes itself; or that more
//                                                   follows directly behind a value
//   the part of TYPED that stays before each value
//   VALUE, a tab, DESCRIPTION                        one line each
#ifndef TOOLS_QUORCTL_COMPLETION_H_
#define TOOLS_QUORCTL_COMPLETION_H_

#include <string>
#include <vector>

namespace Quorctl {

inline constexpr char kCompletionWord[] = "__complete";

// The answer to the words behind kCompletionWord. Raises nothing for a catalogue that cannot be
// read: no records are offered then.
std::string CompletionOf(const std::vector<std::string>& words);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_COMPLETION_H_
