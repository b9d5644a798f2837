// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How many terminal columns a text takes.
#ifndef TOOLS_QUORCTL_TEXT_DISPLAY_WIDTH_H_
#define TOOLS_QUORCTL_TEXT_DISPLAY_WIDTH_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace Quorctl {

// Columns of escaped text: combining marks take none, wide East Asian characters and emoji two, all
// others one. Unlike wcwidth(), independent of the locale.
std::size_t DisplayWidth(std::string_view text);

// The longest prefix that takes at most so many columns.
std::string FirstColumns(std::string_view text, std::size_t columns);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_DISPLAY_WIDTH_H_
