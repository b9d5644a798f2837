// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Records as JSON, in the shapes of the catalogue document.
#ifndef TOOLS_CATALOGUE_DOCUMENT_WRITER_H_
#define TOOLS_CATALOGUE_DOCUMENT_WRITER_H_

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "catalogue/catalogue.h"
#include "catalogue/record_fields.h"

namespace Quorctl {

// The value of one field.
nlohmann::ordered_json ValueAsJson(const std::string& value);
nlohmann::ordered_json ValueAsJson(std::int64_t value);
nlohmann::ordered_json ValueAsJson(const Blobs& value);

// The whole document, with the records in the order given, whatever bytes they hold: as a tree, and
// as the text that ReadCatalogueDocument() reads, which is safe to show on a terminal.
nlohmann::ordered_json CatalogueAsJson(const Catalogue& catalogue);
std::string CatalogueAsDocument(const Catalogue& catalogue);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DOCUMENT_WRITER_H_
