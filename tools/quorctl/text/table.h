// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The one writer of tables.
#ifndef TOOLS_QUORCTL_TEXT_TABLE_H_
#define TOOLS_QUORCTL_TEXT_TABLE_H_

#include <string>
#include <utility>
#include <vector>

#include "text/colour.h"

namespace Quorctl {

// Rows of cells under headings, the columns aligned by the width that they have on a terminal.
// Cells may hold any bytes: they are escaped here. An empty cell is shown as "-".
class Table {
 public:
  enum class Align { kLeft, kRight };

  struct Column {
    std::string heading;
    Align align = Align::kLeft;
    bool namesTheRow = false;  // its cells are cut last
  };

  struct Cell {
    std::string text;
    Colour colour = Colour::kNone;
  };

  struct Style {
    bool headings = true;
    bool colour = false;    // false: the colours of cells are not shown
    std::size_t width = 0;  // longer lines are made to fit by cutting cells; 0: none is too long
  };

  Table(std::vector<Column> columns, Style style) : columns_(std::move(columns)), style_(style) {}

  // One cell for each column.
  void AddRow(const std::vector<Cell>& cells);

  // Headings and rows, one per line; only the headings when there are no rows.
  std::string Text() const;

 private:
  using Row = std::vector<Cell>;  // escaped

  Row Headings() const;
  std::vector<std::size_t> ColumnWidths(const Row& headings) const;
  void Narrow(std::vector<std::size_t>* widths) const;
  std::size_t* WidestToCut(std::vector<std::size_t>* widths) const;
  std::string Shown(const Cell& cell, std::size_t column, std::size_t width) const;
  void AppendLine(const Row& row, const std::vector<std::size_t>& widths, std::string* text) const;

  std::vector<Column> columns_;
  Style style_;
  std::vector<Row> rows_;
};

// "label  value" lines without headings, the values aligned below each other. Values may hold any
// bytes: they are escaped here.
class LabelledLines {
 public:
  void Add(const std::string& label, const std::string& value);

  // Each line begins with `indent`.
  std::string Text(const std::string& indent = "") const;

 private:
  struct Line {
    std::string label;
    std::string value;
  };
  std::vector<Line> lines_;
};

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_TABLE_H_
