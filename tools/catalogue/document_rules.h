// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a catalogue must keep so that every record of it can be stored and found.
#ifndef TOOLS_CATALOGUE_DOCUMENT_RULES_H_
#define TOOLS_CATALOGUE_DOCUMENT_RULES_H_

#include <string>

#include "catalogue/catalogue.h"

namespace Quorctl {

// Raises DocumentError, which names both places, for two policies of one name, two datastores of
// one URL, and two blobs of one namespace in a policy. `consequence` ends the message: what becomes
// of such records.
void ExpectUniqueKeys(const Catalogue& catalogue, const std::string& source,
                      const std::string& consequence);

// Raises DocumentError for a blob without a namespace.
void ExpectBlobNamespaces(const Catalogue& catalogue, const std::string& source,
                          const std::string& consequence);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DOCUMENT_RULES_H_
