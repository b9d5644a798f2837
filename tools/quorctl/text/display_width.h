// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How many terminal columns a text takes.
#ifndef TOOLS_QUORCTL_TEXT_DISPLAY_WIDTH_H_
#define TOOLS_QUORCTL_TEXT_DISPLAY_WIDTH_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace Quorctl {

// Of escaped text: combining marks take no column, wide East Asian characters and emoji two, all
// others one. Does not depend on the locale, unlike the C library's answer.
std::size_t DisplayWidth(std::string_view text);

// As much of the beginning as takes no more than so many columns.
std::string FirstColumns(std::string_view text, std::size_t columns);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_DISPLAY_WIDTH_H_
