// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Rules that a catalogue must keep so that every record can be stored and found.
#ifndef TOOLS_CATALOGUE_DOCUMENT_RULES_H_
#define TOOLS_CATALOGUE_DOCUMENT_RULES_H_

#include <string>

#include "catalogue/catalogue.h"
#include "catalogue/document_error.h"

namespace Quorctl {

// Reports two policies of one name, two datastores of one URL, and two blobs of one namespace in a
// policy, each with both places. `consequence` ends the message: what happens to such records.
void FindRepeatedKeys(const Catalogue& catalogue, const std::string& consequence,
                      DocumentProblems* problems);

// Tells of each blob without a namespace.
void FindNamelessBlobs(const Catalogue& catalogue, const std::string& consequence,
                       DocumentProblems* problems);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DOCUMENT_RULES_H_
