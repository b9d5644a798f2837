// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "difference_layout.h"

namespace Quorctl {
namespace {

FieldValue ChangeValue(Change change) {
  switch (change) {
    case Change::kDeleted:
      return TextValue("deleted", Colour::kRed);
    case Change::kAdded:
      return TextValue("added", Colour::kGreen);
    case Change::kChanged:
      break;
  }
  return TextValue("changed", Colour::kYellow);
}

FieldValue FieldsValue(const Difference& difference) {
  std::vector<std::string> names;
  for (const FieldChange& change : difference.fields)
    names.push_back(change.field);
  return TextListValue(names);
}

}  // namespace

const RecordLayout& DifferenceLayout() {
  static const RecordLayout layout = {{{"change", "CHANGE"},
                                       {"kind", "KIND"},
                                       {"name", "NAME"},
                                       {"id", "ID"},
                                       {"fields", "FIELDS"}},
                                      {"change", "kind", "name", "id", "fields"},
                                      {"change", "kind", "name", "id", "fields"},
                                      {"change", "kind", "name", "id", "fields"},
                                      /*headingsWhenEmpty=*/false};
  return layout;
}

void AddDifferences(const std::vector<Difference>& differences, RecordWriter* writer) {
  for (const Difference& difference : differences) {
    const bool isPolicy = difference.kind == RecordKind::kPolicy;
    writer->Add({ChangeValue(difference.change), TextValue(isPolicy ? "policy" : "datastore"),
                 TextValue(difference.name), isPolicy ? TextValue(difference.id) : NoValue(),
                 FieldsValue(difference)});
  }
}

}  // namespace Quorctl
