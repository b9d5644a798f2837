// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Error locator for unbalanced quotes and brackets, which a parser notices only at the end.
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

// The first unclosed string, control character inside a string, text after the end, or premature
// end; nullopt if quotes and brackets are balanced.
std::optional<Mistake> FindOutlineMistake(std::string_view text);

// Offset of the first byte that is not UTF-8; the text's size if there is none.
std::size_t FindInvalidUtf8(std::string_view text);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_OUTLINE_H_
