// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a check of the host found.
#ifndef TOOLS_QUORCTL_CHECK_FINDING_H_
#define TOOLS_QUORCTL_CHECK_FINDING_H_

#include <string>
#include <vector>

namespace Quorctl {

enum class Severity {
  kError,    // records are lost, or answers are wrong or refused
  kWarning,  // something does not work as it seems to, or soon will not
  kInfo,     // what was looked at, and nothing is wrong
};

struct Finding {
  Severity severity = Severity::kWarning;
  std::string subject;  // a path, or a record of the catalogue
  std::string problem;
  std::string advice;             // what to do
  bool replacementHeals = false;  // whether to write all records anew takes it away
};

using Findings = std::vector<Finding>;

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHECK_FINDING_H_
