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

// Writes `shown`, which is empty then, to standard output, and asks on
// standard error. Reads one line of standard input, or of the controlling terminal. Raises
// CommandError, which says that nothing was changed, for all but "y" and "yes" in any case.
void AskOrRefuse(const std::string& question, std::string* shown, bool inputIsUsed = false);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CONFIRMATION_H_
