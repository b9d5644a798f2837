// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/table.h"

#include <algorithm>

#include "catalogue/text/terminal_text.h"
#include "text/display_width.h"

namespace Quorctl {
namespace {

constexpr char kGap[] = "  ";
// A cell that is wider pushes the rest of its own row only, and all rows stay readable.
constexpr std::size_t kWidestColumn = 72;

std::string Spaces(std::size_t used, std::size_t width) {
  return std::string(used < width ? width - used : 0, ' ');
}

}  // namespace

void Table::AddRow(const std::vector<Cell>& cells) {
  Row row;
  for (const Cell& cell : cells) {
    row.push_back({cell.text.empty() ? "-" : EscapeCell(cell.text), cell.colour});
  }
  rows_.push_back(std::move(row));
}

std::string Table::Text() const {
  const Row headings = style_.headings ? Headings() : Row();
  const std::vector<std::size_t> widths = ColumnWidths(headings);
  std::string text;
  AppendLine(headings, widths, &text);
  for (const Row& row : rows_)
    AppendLine(row, widths, &text);
  return text;
}

Table::Row Table::Headings() const {
  Row headings;
  for (const Column& column : columns_)
    headings.push_back({column.heading, Colour::kBold});
  return headings;
}

std::vector<std::size_t> Table::ColumnWidths(const Row& headings) const {
  std::vector<std::size_t> widths(columns_.size());
  for (std::size_t i = 0; i < headings.size(); ++i)
    widths[i] = DisplayWidth(headings[i].text);
  for (const Row& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], std::min(DisplayWidth(row[i].text), kWidestColumn));
    }
  }
  return widths;
}

void Table::AppendLine(const Row& row, const std::vector<std::size_t>& widths,
                       std::string* text) const {
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string spaces = Spaces(DisplayWidth(row[i].text), widths[i]);
    const bool isLast = i + 1 == row.size();
    if (columns_[i].align == Align::kRight) *text += spaces;
    *text += style_.colour ? Coloured(row[i].text, row[i].colour) : row[i].text;
    if (columns_[i].align == Align::kLeft && !isLast) *text += spaces;
    *text += isLast ? "\n" : kGap;
  }
}

void LabelledLines::Add(const std::string& label, const std::string& value) {
  lines_.push_back({label, value});
}

std::string LabelledLines::Text(const std::string& indent) const {
  std::size_t width = 0;
  for (const Line& line : lines_)
    width = std::max(width, DisplayWidth(line.label));
  std::string text;
  for (const Line& line : lines_) {
    text += indent + line.label + Spaces(DisplayWidth(line.label), width) + kGap +
            EscapeForTerminal(line.value) + '\n';
  }
  return text;
}

}  // namespace Quorctl
