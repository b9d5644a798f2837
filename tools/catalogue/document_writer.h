// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Records as JSON, in the shapes of the catalogue document.
#ifndef TOOLS_CATALOGUE_DOCUMENT_WRITER_H_
#define TOOLS_CATALOGUE_DOCUMENT_WRITER_H_

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "catalogue/catalogue.h"
#include "catalogue/record_fields.h"

namespace Quorctl {

// The value of one field.
nlohmann::ordered_json ValueAsJson(const std::string& value);
nlohmann::ordered_json ValueAsJson(std::int64_t value);
nlohmann::ordered_json ValueAsJson(const Blobs& value);

// The whole document, with the records in the given order and with any bytes in them: as a tree; as
// the text that ReadCatalogueDocument() reads, safe to show on a terminal; and as the same text
// handed to `write` in parts, so that only one part is in memory.
nlohmann::ordered_json CatalogueAsJson(const Catalogue& catalogue);
std::string CatalogueAsDocument(const Catalogue& catalogue);
void WriteDocument(const Catalogue& catalogue, const std::function<void(std::string_view)>& write);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DOCUMENT_WRITER_H_
