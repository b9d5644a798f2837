// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "check/stored_content.h"

#include <algorithm>

#include "host_backend.h"

namespace Quorctl {

std::string AdviceToReplace(bool inStore, bool unreadable) {
  if (BackendSwitch().on == inStore) {
    return std::string("apply the whole catalogue") + (unreadable ? " with --no-history" : "");
  }
  // What is applied goes to the other one.
  return std::string("replace its catalogue by the one in use: migrate --to ") +
         (inStore ? "store" : "file") + (unreadable ? " --no-history" : "");
}

std::string WhyToWriteAnew(bool inStore) {
  Findings findings;
  inStore ? CheckConfigStore(&findings) : CheckConfigFile(&findings);
  const auto first = std::find_if(findings.begin(), findings.end(),
                                  [](const Finding& finding) { return finding.replacementHeals; });
  return first == findings.end() ? std::string() : first->problem;
}

}  // namespace Quorctl
