// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "document_form.h"

#include "catalogue/document_writer.h"
#include "catalogue/text/terminal_text.h"
#include "exit_status.h"
#include "text/yaml_text.h"

namespace Quorctl {

std::string AsYamlDocument(const Catalogue& catalogue) {
  return AsYaml(CatalogueAsJson(catalogue));
}

void DocumentForm::Declare(CLI::App& verb) {
  form_.Declare(verb, "-o,--output", "FORMAT", "json (as without this option) or yaml");
  form_.OfferChoices("json yaml");
}

bool DocumentForm::IsYaml() const {
  if (!form_.Given() || form_.Value() == "json") return false;
  if (form_.Value() == "yaml") return true;
  throw UsageError("unknown form of a document " + Quoted(form_.Value()) + "; choose json or yaml");
}

std::string DocumentForm::Text(const Catalogue& catalogue) const {
  return IsYaml() ? AsYamlDocument(catalogue) : CatalogueAsDocument(catalogue);
}

}  // namespace Quorctl
