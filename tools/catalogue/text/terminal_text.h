// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Text of unknown origin made fit for a terminal.
#ifndef TOOLS_CATALOGUE_TEXT_TERMINAL_TEXT_H_
#define TOOLS_CATALOGUE_TEXT_TERMINAL_TEXT_H_

#include <string>
#include <string_view>

namespace Quorctl {

// True for characters that a terminal acts on or that mislead a reader: control characters, line
// and paragraph separators, invisible marks, and marks that change the direction of writing.
bool IsUnsafeOnTerminal(char32_t codePoint);

// Unsafe characters up to U+00FF and bytes that are no UTF-8 as \xHH, other unsafe characters as
// \uHHHH, the rest as it is.
std::string EscapeForTerminal(std::string_view text);

// Like EscapeForTerminal() for one cell of a table, with backslashes doubled, so that an escape in
// the data cannot be mistaken for an escaped character.
std::string EscapeCell(std::string_view text);

// The text in quotation marks for a message: escaped, and cut when it is long.
std::string Quoted(std::string_view text);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_TEXT_TERMINAL_TEXT_H_
