// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Output that is longer than the terminal.
#ifndef TOOLS_QUORCTL_PAGER_H_
#define TOOLS_QUORCTL_PAGER_H_

#include <string>

namespace Quorctl {

// Shows the text by QUORCTL_PAGER, else PAGER, else less, and waits for its end. False, with
// nothing shown, when standard output is no terminal, the text fits on it, the pager is "cat" or
// empty, or there is none. Where the process has other rights than who started it, the pager is
// less, which is told to start no other program.
bool ShowInPager(const std::string& text);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_PAGER_H_
