// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Formatting into std::string.
#ifndef BRISK_FORMAT_H_
#define BRISK_FORMAT_H_

#include <cstddef>
#include <string>

#include "platform/export.h"

namespace Brisk {
namespace Misc {

namespace Detail {

// A view of a string's bytes, embedded NULs included. The string outlives the view.
struct StrBuf {
  // Of the whole string.
  StrBuf(const std::string& text) : data(text.data()), size(text.size()) {}  // NOLINT: a view
  const char* data;  // the bytes, which no NUL need follow
  std::size_t size;  // their number
};

}  // namespace Detail

// Formats like printf() into a string. Raises std::bad_alloc when memory is short and
// std::invalid_argument when `format` is in error.
PLATFORM_API std::string StrPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The three pieces one after the other, each with its full length. Raises std::bad_alloc when
// memory is short.
PLATFORM_API std::string StrCat(const Detail::StrBuf& first, const Detail::StrBuf& second,
                                const Detail::StrBuf& third);

}  // namespace Misc
}  // namespace Brisk

#endif  // BRISK_FORMAT_H_
