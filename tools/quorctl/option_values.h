// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Values of options that several commands have.
#ifndef TOOLS_QUORCTL_OPTION_VALUES_H_
#define TOOLS_QUORCTL_OPTION_VALUES_H_

#include <cstdint>
#include <string>

#include "argument.h"
#include "catalogue/digests.h"

namespace Quorctl {

// -o table, which is the default, or -o json. Raises UsageError for another word.
bool IsJson(const Argument& format);

// POLICIES:DATASTORES. Raises UsageError, which names the option.
Digests DigestsIn(const Argument& argument, const std::string& option);

// Parses a number of the history, or a count. For other words raises UsageError "\"x\" is no " +
// what.
std::uint64_t NumberIn(const std::string& word, const std::string& what);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_OPTION_VALUES_H_
