// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "listing_options.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "catalogue/text/terminal_text.h"
#include "exit_status.h"
#include "text/terminal_size.h"

namespace Quorctl {
namespace {

constexpr std::array<std::pair<const char*, RecordFormat>, 7> kFormats = {{
    {"table", RecordFormat::kTable},
    {"wide", RecordFormat::kWide},
    {"json", RecordFormat::kJson},
    {"jsonl", RecordFormat::kJsonLines},
    {"yaml", RecordFormat::kYaml},
    {"csv", RecordFormat::kCsv},
    {"csv-raw", RecordFormat::kCsvRaw},
}};

RecordFormat FormatOf(const std::string& name, const std::string& another) {
  for (const auto& [known, format] : kFormats) {
    if (name == known) return format;
  }
  throw UsageError("unknown output format " + Quoted(name) +
                   "; choose table, wide, json, jsonl, yaml, " + another + "csv or csv-raw");
}

// Splits a list at its commas; no name may be empty or repeat.
std::vector<std::string> NamesIn(const std::string& list, const std::string& option) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    const std::string name = list.substr(begin, end - begin);
    if (name.empty()) throw UsageError(option + ": the name of a field is empty");
    if (std::find(names.begin(), names.end(), name) != names.end()) {
      throw UsageError(option + ": " + Quoted(name) + " is given twice");
    }
    names.push_back(name);
    begin = end + 1;
  }
  return names;
}

}  // namespace

void ListingOptions::Declare(CLI::App& verb, bool named) {
  format_.Declare(verb, "-o,--output", "FORMAT",
                  "table (as without this option), wide, json, jsonl, yaml,\n"
                  "csv or csv-raw");
  std::string formats = named ? "name" : "";
  for (const auto& [format, ignored] : kFormats)
    formats += std::string(" ") + format;
  format_.OfferChoices(formats);
  fields_.Declare(verb, "--fields", "NAMES",
                  "write these fields in this order, with commas between\n"
                  "them; -o json shows how they are named");
  sort_.Declare(verb, "--sort", "NAMES", "sort by these fields; -NAME sorts downwards");
  where_.Declare(verb, "--where", "FIELD=PATTERN",
                 "only records whose field fits the pattern (* ? []), as a\n"
                 "table shows it; several have to be met all");
  DeclareFlag(verb, "--no-headings", &noHeadings_, "leave out the headings of table, wide and csv");
}

RecordChoices ListingOptions::Choices(const std::string& nameField) const {
  RecordChoices choices;
  const bool nameOnly = format_.Given() && format_.Value() == "name" && !nameField.empty();
  if (nameOnly && fields_.Given()) throw UsageError("-o name and --fields exclude each other");
  if (nameOnly) choices.fields = {nameField};
  if (format_.Given() && !nameOnly) {
    choices.format = FormatOf(format_.Value(), nameField.empty() ? "" : "name, ");
  }
  if (fields_.Given()) choices.fields = NamesIn(fields_.Value(), "--fields");
  if (sort_.Given()) {
    for (const std::string& name : NamesIn(sort_.Value(), "--sort")) {
      const bool descending = name.front() == '-';
      choices.sort.push_back({name.substr(descending ? 1 : 0), descending});
    }
  }
  for (const std::string& condition : where_.Values()) {
    const auto [field, pattern] = SplitWord(condition, "--where FIELD=PATTERN");
    choices.where.push_back({field, pattern});
  }
  const bool isTree = choices.format == RecordFormat::kJson ||
                      choices.format == RecordFormat::kJsonLines ||
                      choices.format == RecordFormat::kYaml;
  if (noHeadings_ && isTree) throw UsageError("--no-headings: JSON and YAML have no headings");
  choices.headings = !noHeadings_ && !nameOnly;
  choices.forTerminal = isatty(STDOUT_FILENO) != 0;
  choices.colour = StandardOutputTakesColour();
  choices.width = nameOnly ? 0 : SizeOfTerminal().columns;
  return choices;
}

}  // namespace Quorctl
