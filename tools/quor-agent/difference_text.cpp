// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "difference_text.h"

#include "catalogue/difference.h"
#include "catalogue/text/terminal_text.h"

namespace QuorAgent {

using Quorctl::Change;
using Quorctl::Difference;

std::string DifferenceAsText(const Quorctl::Catalogue& before, const Quorctl::Catalogue& after) {
  std::string text;
  for (const Difference& difference : Quorctl::CompareCatalogues(before, after)) {
    text += difference.change == Change::kDeleted ? "delete "
            : difference.change == Change::kAdded ? "add "
                                                  : "change ";
    const bool isPolicy = difference.kind == Quorctl::RecordKind::kPolicy;
    text += (isPolicy ? "policy " : "datastore ") + Quorctl::Quoted(difference.name);
    if (isPolicy) text += " (" + Quorctl::EscapeForTerminal(difference.id) + ')';
    const char* separator = ": ";
    for (const Quorctl::FieldChange& field : difference.fields) {
      text += separator + Quorctl::EscapeForTerminal(field.field);
      separator = ", ";
    }
    text += '\n';
  }
  return text;
}

}  // namespace QuorAgent
