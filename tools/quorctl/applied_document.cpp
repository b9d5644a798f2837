// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "applied_document.h"

#include "catalogue/document_reader.h"
#include "catalogue/document_rules.h"
#include "exit_status.h"
#include "host_backend.h"
#include "store_limits.h"

namespace Quorctl {

Catalogue ReadAppliedDocument(const std::string& text, const std::string& source) {
  Catalogue catalogue = ReadCatalogueDocument(text, source);
  const bool inStore = BackendSwitch().on;
  DocumentProblems problems;
  FindRepeatedKeys(catalogue,
                   inStore ? "only one of the two would be kept"
                           : "only the first of the two would be found by it",
                   &problems);
  if (inStore) {
    FindNamelessBlobs(catalogue, "the configuration store keeps no blob without a namespace",
                      &problems);
  }
  problems.Raise(text, source);
  const std::vector<std::string> losses = LostIn(inStore, catalogue);
  if (losses.empty()) return catalogue;
  throw CommandError(ExitStatus::kBadInput, source + ": " + losses.front() + "; the " +
                                                BackendName(inStore) + " would not keep it");
}

}  // namespace Quorctl
