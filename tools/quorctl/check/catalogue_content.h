// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogue as the library lists it: keys that repeat, and defaults that lead nowhere.
#ifndef TOOLS_QUORCTL_CHECK_CATALOGUE_CONTENT_H_
#define TOOLS_QUORCTL_CHECK_CATALOGUE_CONTENT_H_

#include "catalogue/catalogue.h"
#include "check/finding.h"

namespace Quorctl {

void CheckDuplicates(const Catalogue& catalogue, Findings* findings);
// `policiesLost`: the catalogue lacks policies that cannot be read.
void CheckDefaultPolicies(const Catalogue& catalogue, bool policiesLost, Findings* findings);

// Findings in `after` that are not in `before`.
Findings NewProblems(const Catalogue& before, const Catalogue& after);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CHECK_CATALOGUE_CONTENT_H_
