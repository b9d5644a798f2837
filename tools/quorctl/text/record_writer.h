// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The one writer of records: the same rows as a table for people or as data for programs.
//
//   static const RecordLayout layout = {
//       {{"severity", "SEVERITY"}, {"subject", "SUBJECT"}, {"bytes", "BYTES",
//       Table::Align::kRight}},
//       /*inTable=*/{"severity", "subject"},
//       /*inWide=*/{"severity", "subject", "bytes"},
//       /*inData=*/{"severity", "subject", "bytes"}};
//   RecordWriter writer(layout, options_.Choices());   // ListingOptions, see listing_options.h
//   writer.Add({TextValue("error", Colour::kRed), TextValue(path), NumberValue(size)});
//   output->text += writer.Text();
//
// Text may hold any bytes everywhere. A table shows it escaped; in JSON bytes that are no UTF-8
// stand as {"base64": "..."}, as in a catalogue document.
#ifndef TOOLS_QUORCTL_TEXT_RECORD_WRITER_H_
#define TOOLS_QUORCTL_TEXT_RECORD_WRITER_H_

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "text/colour.h"
#include "text/table.h"

namespace Quorctl {

// One field of one record, as people and as programs see it.
struct FieldValue {
  std::string shown;            // any bytes; a table shows nothing as "-"
  nlohmann::ordered_json json;  // null for nothing
  Colour colour = Colour::kNone;
};

FieldValue TextValue(const std::string& bytes, Colour colour = Colour::kNone);
FieldValue NumberValue(std::int64_t number);
FieldValue NoValue();

// Any number of texts: a JSON array; with ", " between them in a table.
FieldValue TextListValue(const std::vector<std::string>& texts);

struct RecordField {
  std::string name;     // for --fields and --sort, the key in JSON, the heading in CSV
  std::string heading;  // in tables
  Table::Align align = Table::Align::kLeft;
};

struct RecordLayout {
  std::vector<RecordField> fields;  // all that can be asked for, in the order of Add()
  // The names of those that are written without --fields, in this order.
  std::vector<std::string> inTable;
  std::vector<std::string> inWide;
  std::vector<std::string> inData;      // json, jsonl, yaml, csv
  bool headingsWhenEmpty = true;        // false: a table without rows is the empty text
  bool hasSentences = false;            // which are to be read whole, on several lines if need be
  std::vector<std::string> names = {};  // the fields that tell records apart: cut last
};

enum class RecordFormat { kTable, kWide, kJson, kJsonLines, kYaml, kCsv, kCsvRaw };

struct SortKey {
  std::string field;
  bool descending = false;
};

struct Condition {
  std::string field;
  std::string pattern;  // of what a table shows, with * ? and []
};

// What the operator asked for.
struct RecordChoices {
  std::vector<Condition> where;  // records that do not meet all of them are left out
  RecordFormat format = RecordFormat::kTable;
  std::vector<std::string> fields;  // empty: those of the format
  std::vector<SortKey> sort;        // empty: the order of Add(), which also decides ties
  bool headings = true;
  bool forTerminal = false;  // CSV too is then escaped
  bool colour = false;
  std::size_t width = 0;  // of the terminal; 0: without end
};

class RecordWriter {
 public:
  // Raises UsageError for a field that the layout does not have. The layout must outlive the
  // writer.
  RecordWriter(const RecordLayout& layout, RecordChoices choices);

  // True when the field is written, sorted by or looked at; of others the value does not matter.
  bool Uses(const std::string& field) const;

  // One value for each field of the layout. False when the record is left out.
  bool Add(std::vector<FieldValue> values);

  // All records in the chosen format:
  //   table, wide  headings and one line per record, the columns aligned
  //   json         one array of objects, indented
  //   jsonl        one object per line
  //   yaml         the array of json as YAML
  //   csv          RFC 4180: lines end in CR LF; what is no string in JSON stands as its JSON text;
  //                a text that a spreadsheet would calculate begins with an apostrophe
  //   csv-raw      the same without apostrophes
  std::string Text();

 private:
  using Record = std::vector<FieldValue>;  // of the fields in kept_

  std::size_t PlaceOf(const std::string& field);
  std::size_t IndexOf(const std::string& field) const;
  void Sort();
  std::string TableText() const;
  nlohmann::ordered_json AsArray() const;
  std::string JsonLinesText() const;
  std::string CsvText() const;
  nlohmann::ordered_json AsObject(const Record& record) const;

  const RecordLayout& layout_;
  RecordChoices choices_;
  std::vector<std::size_t>
      kept_;  // indexes of what is written or sorted by, among the layout's fields
  std::vector<std::size_t> columns_;   // indexes into a Record
  std::vector<std::size_t> sortedBy_;  // likewise
  std::vector<Record> records_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_RECORD_WRITER_H_
