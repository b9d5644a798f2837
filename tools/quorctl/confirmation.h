// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Asking the operator before something is lost.
#ifndef TOOLS_QUORCTL_CONFIRMATION_H_
#define TOOLS_QUORCTL_CONFIRMATION_H_

#include <string>

namespace Quorctl {

// Whether there is somebody to ask: standard input is a terminal; or, with `inputIsUsed`, standard
// error is the terminal that this process is controlled from.
bool CanAsk(bool inputIsUsed = false);

// Asks on standard error and reads one line of standard input, or of the
// controlling terminal. True for "y" and "yes" in any case;
// anything else, the end of the input and a failure are a no.
bool Ask(const std::string& question, bool inputIsUsed = false);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CONFIRMATION_H_
