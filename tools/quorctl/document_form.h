// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The option of commands that write a whole catalogue: -o json or -o yaml.
#ifndef TOOLS_QUORCTL_DOCUMENT_FORM_H_
#define TOOLS_QUORCTL_DOCUMENT_FORM_H_

#include <string>

#include "argument.h"
#include "catalogue/catalogue.h"

namespace Quorctl {

std::string AsYamlDocument(const Catalogue& catalogue);

class DocumentForm {
 public:
  static constexpr char kSynopsis[] = "[-o json|yaml]";

  void Declare(CLI::App& verb);

  // Raises UsageError for another form.
  bool IsYaml() const;

  std::string Text(const Catalogue& catalogue) const;

 private:
  Argument form_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_DOCUMENT_FORM_H_
