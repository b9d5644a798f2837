// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The options that every command takes.
#ifndef TOOLS_QUORCTL_GLOBAL_OPTIONS_H_
#define TOOLS_QUORCTL_GLOBAL_OPTIONS_H_

#include <string>

#include "argument.h"

namespace Quorctl {

// Points the process at the host directory that the option names. Raises UsageError for an empty
// name, CommandError for one that is not there unless the command makes it.
void UseHost(const Argument& root, const std::string& option, bool mayMakeHost);

class GlobalOptions {
 public:
  void Declare(CLI::App& parser);

  // Points the process at the host directory that was given, if one was.
  void Apply(bool mayMakeHost) const;

 private:
  Argument root_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_GLOBAL_OPTIONS_H_
