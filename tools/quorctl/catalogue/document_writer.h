// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Records as JSON, in the shapes of the catalogue document.
#ifndef TOOLS_QUORCTL_CATALOGUE_DOCUMENT_WRITER_H_
#define TOOLS_QUORCTL_CATALOGUE_DOCUMENT_WRITER_H_

#include <nlohmann/json.hpp>
#include <string>

#include "catalogue/catalogue.h"

namespace Quorctl {

nlohmann::ordered_json PolicyAsJson(const TavQuor::QuorPolicyInfo& policy);
nlohmann::ordered_json DatastoreAsJson(const TavQuor::QuorDatastoreInfo& datastore);

// The whole document, with the records in the order given: what ReadCatalogueDocument() reads.
// Valid JSON whatever bytes the records hold, and safe to show on a terminal.
std::string CatalogueAsDocument(const Catalogue& catalogue);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_CATALOGUE_DOCUMENT_WRITER_H_
