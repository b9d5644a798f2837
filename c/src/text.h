// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// String arguments and views.
#ifndef C_SRC_TEXT_H_
#define C_SRC_TEXT_H_

#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "quor/quor.h"

namespace QuorC {

// Raises std::invalid_argument for a null pointer that is not the empty string.
inline std::string_view Argument(const char* data, std::size_t length) {
  if (data == nullptr && length != 0) {
    throw std::invalid_argument("a null pointer was given for a string that is not empty");
  }
  if (length == QUOR_TERMINATED) return std::string_view(data, std::strlen(data));
  return std::string_view(data, length);
}

inline quor_view ViewOf(const std::string& text) {
  return quor_view{text.c_str(), text.size()};
}

inline quor_view EmptyView() {
  return quor_view{"", 0};
}

}  // namespace QuorC

#endif  // C_SRC_TEXT_H_
