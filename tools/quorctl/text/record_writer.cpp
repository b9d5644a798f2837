// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/record_writer.h"

#include <fnmatch.h>

#include <algorithm>
#include <utility>

#include "catalogue/text/json_text.h"
#include "catalogue/text/suggestion.h"
#include "catalogue/text/terminal_text.h"
#include "exit_status.h"
#include "text/yaml_text.h"

namespace Quorctl {

using nlohmann::ordered_json;

namespace {

int Order(const FieldValue& a, const FieldValue& b) {
  if (!a.json.is_number_integer() || !b.json.is_number_integer()) return a.shown.compare(b.shown);
  const auto left = a.json.get<std::int64_t>();
  const auto right = b.json.get<std::int64_t>();
  return left < right ? -1 : left > right;
}

// A string's text; the JSON text of any other value. A spreadsheet would evaluate a text that
// begins with one of these characters as a formula.
std::string CsvCell(const FieldValue& value, bool guarded) {
  if (value.json.is_null()) return "";
  if (!value.json.is_string()) return JsonOnOneLine(value.json);
  const auto& text = value.json.get_ref<const std::string&>();
  const bool isFormula = text.find_first_of("=+-@\t\r") == 0;
  return guarded && isFormula ? '\'' + text : text;
}

std::string InQuotes(const std::string& cell) {
  std::string quoted = "\"";
  for (const char byte : cell) {
    quoted += byte;
    if (byte == '"') quoted += byte;
  }
  return quoted + '"';
}

// A line that would be empty is no record to a reader: its only field gets quotation marks.
void AppendCsvLine(const std::vector<std::string>& cells, std::string* text) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string& cell = cells[i];
    const bool isWholeLine = cell.empty() && cells.size() == 1;
    const bool needsQuotes = isWholeLine || cell.find_first_of(",\"\r\n") != cell.npos;
    if (i > 0) *text += ',';
    *text += needsQuotes ? InQuotes(cell) : cell;
  }
  *text += "\r\n";
}

}  // namespace

FieldValue TextValue(const std::string& bytes, Colour colour) {
  return {bytes, BytesAsJson(bytes), colour};
}

FieldValue NumberValue(std::int64_t number) {
  return {std::to_string(number), number};
}

FieldValue NoValue() {
  return {"", nullptr};
}

FieldValue TextListValue(const std::vector<std::string>& texts) {
  FieldValue value = {"", ordered_json::array()};
  for (const std::string& text : texts) {
    value.shown += (value.shown.empty() ? "" : ", ") + text;
    value.json.push_back(BytesAsJson(text));
  }
  return value;
}

RecordWriter::RecordWriter(const RecordLayout& layout, RecordChoices choices)
    : layout_(layout), choices_(std::move(choices)) {
  if (choices_.fields.empty()) {
    choices_.fields = choices_.format == RecordFormat::kTable  ? layout.inTable
                      : choices_.format == RecordFormat::kWide ? layout.inWide
                                                               : layout.inData;
  }
  for (const std::string& field : choices_.fields)
    columns_.push_back(PlaceOf(field));
  for (const SortKey& key : choices_.sort)
    sortedBy_.push_back(PlaceOf(key.field));
  for (const Condition& condition : choices_.where)
    IndexOf(condition.field);
}

std::size_t RecordWriter::PlaceOf(const std::string& field) {
  const std::size_t index = IndexOf(field);
  const auto found = std::find(kept_.begin(), kept_.end(), index);
  const auto place = static_cast<std::size_t>(found - kept_.begin());
  if (found == kept_.end()) kept_.push_back(index);
  return place;
}

std::size_t RecordWriter::IndexOf(const std::string& field) const {
  std::string names;
  std::vector<std::string> known;
  for (std::size_t i = 0; i < layout_.fields.size(); ++i) {
    if (layout_.fields[i].name == field) return i;
    known.push_back(layout_.fields[i].name);
    names += (names.empty() ? "" : ", ") + known.back();
  }
  throw UsageError("unknown field " + Quoted(field) + "; choose among " + names +
                   DidYouMean(field, known));
}

bool RecordWriter::Uses(const std::string& field) const {
  const auto& written = choices_.fields;
  return std::find(written.begin(), written.end(), field) != written.end() ||
         std::any_of(choices_.sort.begin(), choices_.sort.end(),
                     [&field](const SortKey& key) { return key.field == field; }) ||
         std::any_of(choices_.where.begin(), choices_.where.end(),
                     [&field](const Condition& condition) { return condition.field == field; });
}

bool RecordWriter::Add(std::vector<FieldValue> values) {
  for (const Condition& condition : choices_.where) {
    const std::string& value = values[IndexOf(condition.field)].shown;
    if (fnmatch(condition.pattern.c_str(), value.c_str(), 0) != 0) return false;
  }
  Record& record = records_.emplace_back();
  record.reserve(kept_.size());
  for (const std::size_t index : kept_)
    record.push_back(std::move(values[index]));
  return true;
}

std::string RecordWriter::Text() {
  Sort();
  switch (choices_.format) {
    case RecordFormat::kTable:
    case RecordFormat::kWide:
      return TableText();
    case RecordFormat::kJson:
      return IndentedJson(AsArray()) + '\n';
    case RecordFormat::kJsonLines:
      return JsonLinesText();
    case RecordFormat::kYaml:
      return AsYaml(AsArray());
    case RecordFormat::kCsv:
    case RecordFormat::kCsvRaw:
      return CsvText();
  }
  return "";
}

void RecordWriter::Sort() {
  if (choices_.sort.empty()) return;
  const auto comesBefore = [this](const Record& a, const Record& b) {
    for (std::size_t i = 0; i < sortedBy_.size(); ++i) {
      const int order = Order(a[sortedBy_[i]], b[sortedBy_[i]]);
      if (order != 0) return choices_.sort[i].descending ? order > 0 : order < 0;
    }
    return false;
  };
  std::stable_sort(records_.begin(), records_.end(), comesBefore);
}

std::string RecordWriter::TableText() const {
  if (records_.empty() && !layout_.headingsWhenEmpty) return "";
  std::vector<Table::Column> columns;
  for (const std::size_t i : columns_) {
    const RecordField& field = layout_.fields[kept_[i]];
    const auto& names = layout_.names;
    const bool isName = std::find(names.begin(), names.end(), field.name) != names.end();
    columns.push_back({field.heading, field.align, isName});
  }
  Table table(std::move(columns),
              {choices_.headings, choices_.colour, layout_.hasSentences ? 0 : choices_.width});
  for (const Record& record : records_) {
    std::vector<Table::Cell> cells;
    for (const std::size_t i : columns_)
      cells.push_back({record[i].shown, record[i].colour});
    table.AddRow(cells);
  }
  return table.Text();
}

ordered_json RecordWriter::AsObject(const Record& record) const {
  ordered_json object = ordered_json::object();
  for (const std::size_t i : columns_)
    object[layout_.fields[kept_[i]].name] = record[i].json;
  return object;
}

ordered_json RecordWriter::AsArray() const {
  ordered_json array = ordered_json::array();
  for (const Record& record : records_)
    array.push_back(AsObject(record));
  return array;
}

std::string RecordWriter::JsonLinesText() const {
  std::string text;
  for (const Record& record : records_)
    text += JsonOnOneLine(AsObject(record)) + '\n';
  return text;
}

std::string RecordWriter::CsvText() const {
  std::string text;
  if (choices_.headings) AppendCsvLine(choices_.fields, &text);
  for (const Record& record : records_) {
    std::vector<std::string> cells;
    for (const std::size_t i : columns_) {
      const std::string cell = CsvCell(record[i], choices_.format == RecordFormat::kCsv);
      cells.push_back(choices_.forTerminal ? EscapeForTerminal(cell) : cell);
    }
    AppendCsvLine(cells, &text);
  }
  return text;
}

}  // namespace Quorctl
