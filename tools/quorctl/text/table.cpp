// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/table.h"

#include <algorithm>
#include <numeric>

#include "catalogue/text/terminal_text.h"
#include "text/display_width.h"

namespace Quorctl {
namespace {

constexpr char kGap[] = "  ";
// Without an end of the line a cell that is wider pushes the rest of its own row only.
constexpr std::size_t kWidestColumn = 72;
constexpr std::size_t kNarrowestColumn = 5;
constexpr char kEllipsis[] = "\u2026";

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
  std::vector<std::size_t> widths = ColumnWidths(headings);
  if (style_.width > 0) Narrow(&widths);
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
  const std::size_t widest = style_.width > 0 ? style_.width : kWidestColumn;
  std::vector<std::size_t> widths(columns_.size());
  for (std::size_t i = 0; i < headings.size(); ++i)
    widths[i] = DisplayWidth(headings[i].text);
  for (const Row& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], std::min(DisplayWidth(row[i].text), widest));
    }
  }
  return widths;
}

void Table::Narrow(std::vector<std::size_t>* widths) const {
  const std::size_t gaps = (sizeof kGap - 1) * (widths->size() - 1);
  std::size_t all = std::accumulate(widths->begin(), widths->end(), gaps);
  for (; all > style_.width; --all) {
    std::size_t* const widest = WidestToCut(widths);
    if (widest == nullptr) return;
    --*widest;
  }
}

// A number that was cut would be another one, so only texts are; a name only when nothing else can
// be.
std::size_t* Table::WidestToCut(std::vector<std::size_t>* widths) const {
  for (const bool isName : {false, true}) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < widths->size(); ++i) {
      std::size_t& width = (*widths)[i];
      const std::size_t least = isName ? 1 : kNarrowestColumn;
      const Column& column = columns_[i];
      if (column.align == Align::kRight || column.namesTheRow != isName || width <= least) continue;
      if (widest == nullptr || width > *widest) widest = &width;
    }
    if (widest != nullptr) return widest;
  }
  return nullptr;
}

std::string Table::Shown(const Cell& cell, std::size_t column, std::size_t width) const {
  const bool isCut =
      style_.width > 0 && columns_[column].align == Align::kLeft && DisplayWidth(cell.text) > width;
  return isCut ? FirstColumns(cell.text, width - 1) + kEllipsis : cell.text;
}

void Table::AppendLine(const Row& row, const std::vector<std::size_t>& widths,
                       std::string* text) const {
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string shown = Shown(row[i], i, widths[i]);
    const std::string spaces = Spaces(DisplayWidth(shown), widths[i]);
    const bool isLast = i + 1 == row.size();
    if (columns_[i].align == Align::kRight) *text += spaces;
    *text += style_.colour ? Coloured(shown, row[i].colour) : shown;
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
