// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Asking the operator before something is lost.
#ifndef TOOLS_QUORCTL_CONFIRMATION_H_
#define TOOLS_QUORCTL_CONFIRMATION_H_

#include <string>

namespace Quorctl {

// Whether there is somebody to ask: standard input is a terminal.
bool CanAsk();

// Asks on standard error and reads one line of standard input. True for "y" and "yes" in any case;
// anything else, the end of the input and a failure are a no.
bool Ask(const std::string& question);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CONFIRMATION_H_
