// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Text of unknown origin made fit for a terminal.
#ifndef TOOLS_CATALOGUE_TEXT_TERMINAL_TEXT_H_
#define TOOLS_CATALOGUE_TEXT_TERMINAL_TEXT_H_

#include <string>
#include <string_view>

namespace Quorctl {

// True for what a terminal acts on or what misleads a reader: control characters, line and
// paragraph separators, invisible marks, and the marks that turn the direction of writing.
bool IsUnsafeOnTerminal(char32_t codePoint);

// Unsafe characters up to U+00FF and bytes that are no UTF-8 as \xHH, other unsafe characters as
// \uHHHH, the rest as it is.
std::string EscapeForTerminal(std::string_view text);

// The same for one cell of a table, with the backslash doubled, so that what the data says and what
// was escaped cannot be confused.
std::string EscapeCell(std::string_view text);

// The text in quotation marks for a message: escaped, and cut when it is long.
std::string Quoted(std::string_view text);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_TEXT_TERMINAL_TEXT_H_
