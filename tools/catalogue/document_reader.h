// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogue document, from text to records.
#ifndef TOOLS_CATALOGUE_DOCUMENT_READER_H_
#define TOOLS_CATALOGUE_DOCUMENT_READER_H_

#include <string>

#include "catalogue/catalogue.h"

namespace Quorctl {

inline constexpr char kDocumentFormat[] = "quor-catalogue/1";

// Raises DocumentError, which names the source, the lines and the JSON paths, for all that is not
// as it must be: every key is required, no other is allowed. `source` names the text in messages.
Catalogue ReadCatalogueDocument(const std::string& text, const std::string& source);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DOCUMENT_READER_H_
