// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The exceptions of both stores, and formatting into strings.
#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "brisk/exception.h"
#include "brisk/format.h"
#include "tavconfigstore/exception.h"
#include "zynctl/exception.h"

namespace Brisk {
namespace Lib {

BriskException::BriskException(std::string message) : message_(std::move(message)) {}
BriskException::~BriskException() = default;
const char* BriskException::what() const noexcept {
  return message_.c_str();
}
void BriskException::set_attachment(std::shared_ptr<const void> attachment) {
  attachment_ = std::move(attachment);
}

}  // namespace Lib

namespace Misc {

std::string StrPrintf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
  if (length > 0) std::vsnprintf(&text[0], text.size() + 1, format, again);
  va_end(again);
  va_end(arguments);
  if (length < 0) throw std::invalid_argument("StrPrintf: the format is in error");
  return text;
}

std::string StrCat(const Detail::StrBuf& first, const Detail::StrBuf& second,
                   const Detail::StrBuf& third) {
  std::string text(first.data, first.size);
  return text.append(second.data, second.size).append(third.data, third.size);
}

}  // namespace Misc
}  // namespace Brisk

namespace TavConfigStore {

ConfigStoreException::ConfigStoreException(std::string message, CSErrorCodes code)
    : BriskException(std::move(message)), code_(code) {}
ConfigStoreException::~ConfigStoreException() = default;

}  // namespace TavConfigStore

namespace ZynCtl {
namespace Config {

ConfigFileException::ConfigFileException(const char* message) : BriskException(message) {}
ConfigFileException::~ConfigFileException() = default;

}  // namespace Config
}  // namespace ZynCtl
