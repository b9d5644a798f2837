// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "brisk/exception.h"

#include <utility>

namespace Brisk::Lib {

BriskException::BriskException(std::string message) : message_(std::move(message)) {}

BriskException::~BriskException() = default;

const char* BriskException::what() const noexcept {
  return message_.c_str();
}

void BriskException::set_attachment(std::shared_ptr<const void> attachment) {
  attachment_ = std::move(attachment);
}

}  // namespace Brisk::Lib
