// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "difference_layout.h"

#include <algorithm>
#include <optional>

#include "catalogue/text/json_text.h"

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

// Short enough for a column.
std::string Shown(const std::optional<std::string>& value) {
  constexpr std::size_t kLongest = 40;
  if (!value) return "none";
  return value->empty()             ? "\"\""
         : value->size() > kLongest ? value->substr(0, kLongest) + "..."
                                    : *value;
}

// "generation 1 -> 2, blobs VOLB removed"
std::string Shown(const FieldChange& change) {
  if (!change.after) return change.field + " removed";
  if (!change.before) return change.field + " added, " + *change.after;
  if (*change.before == *change.after) return change.field + " other content, " + *change.after;
  return change.field + ' ' + Shown(change.before) + " -> " + Shown(change.after);
}

// Names for programs; for people the values too.
FieldValue FieldsValue(const Difference& difference) {
  std::vector<std::string> names;
  std::string shown;
  for (const FieldChange& change : difference.fields) {
    names.push_back(change.field);
    shown += (shown.empty() ? "" : "; ") + Shown(change);
  }
  FieldValue value = TextListValue(names);
  value.shown = shown;
  return value;
}

FieldValue ValuesValue(const Difference& difference) {
  nlohmann::ordered_json values = nlohmann::ordered_json::array();
  const auto valueOf = [](const std::optional<std::string>& text) {
    return text ? BytesAsJson(*text) : nlohmann::ordered_json();
  };
  for (const FieldChange& change : difference.fields) {
    values.push_back({{"field", BytesAsJson(change.field)},
                      {"before", valueOf(change.before)},
                      {"after", valueOf(change.after)}});
  }
  return {"", std::move(values)};
}

}  // namespace

const RecordLayout& DifferenceLayout() {
  static const RecordLayout layout = {{{"change", "CHANGE"},
                                       {"kind", "KIND"},
                                       {"name", "NAME"},
                                       {"id", "ID"},
                                       {"fields", "FIELDS"},
                                       {"values", "VALUES"}},
                                      {"change", "kind", "name", "id", "fields"},
                                      {"change", "kind", "name", "id", "fields"},
                                      {"change", "kind", "name", "id", "fields", "values"},
                                      /*headingsWhenEmpty=*/false,
                                      /*hasSentences=*/true,
                                      /*names=*/{}};
  return layout;
}

void AddDifferences(const std::vector<Difference>& differences, std::size_t most,
                    RecordWriter* writer) {
  for (std::size_t i = 0; i < std::min(most, differences.size()); ++i) {
    const Difference& difference = differences[i];
    const bool isPolicy = difference.kind == RecordKind::kPolicy;
    writer->Add({ChangeValue(difference.change), TextValue(isPolicy ? "policy" : "datastore"),
                 TextValue(difference.name), isPolicy ? TextValue(difference.id) : NoValue(),
                 FieldsValue(difference), ValuesValue(difference)});
  }
}

}  // namespace Quorctl
