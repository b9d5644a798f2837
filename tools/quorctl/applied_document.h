// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Reads a document that will become this host's catalogue.
#ifndef TOOLS_QUORCTL_APPLIED_DOCUMENT_H_
#define TOOLS_QUORCTL_APPLIED_DOCUMENT_H_

#include <string>

#include "catalogue/catalogue.h"

namespace Quorctl {

// Raises DocumentError for a document that breaks the rules, including those of the host store that
// this process uses; `source` names it in messages. Raises CommandError (bad input) if the store
// would not keep all of it.
Catalogue ReadAppliedDocument(const std::string& text, const std::string& source);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_APPLIED_DOCUMENT_H_
