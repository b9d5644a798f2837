// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Finds the place of mistakes that a parser only notices at the end: quotes and brackets.
#ifndef PLATFORM_SRC_CONFIGFILE_DOCUMENT_OUTLINE_H_
#define PLATFORM_SRC_CONFIGFILE_DOCUMENT_OUTLINE_H_

#include <cstddef>
#include <optional>
#include <string_view>

namespace ZynCtl::Config {

struct Mistake {
  std::size_t place;
  const char* reason;
};

// The first unclosed text, control character inside a text, text behind the end, or end in the
// middle; nothing when quotes and brackets are in order.
std::optional<Mistake> FindOutlineMistake(std::string_view text);

// The place of the first byte that is no UTF-8; the size of the text when there is none.
std::size_t FindInvalidUtf8(std::string_view text);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_OUTLINE_H_
