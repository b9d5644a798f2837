// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What a catalogue must keep so that every record of it can be stored and found.
#ifndef TOOLS_QUORCTL_CATALOGUE_DOCUMENT_RULES_H_
#define TOOLS_QUORCTL_CATALOGUE_DOCUMENT_RULES_H_

#include <string>

#include "catalogue/catalogue.h"

namespace Quorctl {

// Raises DocumentError, which names both places, for two policies of one name, two datastores of
// one URL, and two blobs of one namespace in a policy: in the configuration store they would share
// one stored record, in the configuration file lookups would find the first alone.
void ExpectUniqueKeys(bool inStore, const Catalogue& catalogue, const std::string& source);

// Raises DocumentError for a blob without a namespace, which the configuration store would drop.
void ExpectBlobNamespaces(const Catalogue& catalogue, const std::string& source);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CATALOGUE_DOCUMENT_RULES_H_
