// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/text/base64_text.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

#include "platform/base64.h"

namespace Quorctl {
namespace {

struct Release {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

std::string EncodeBase64(const std::string& bytes) {
  char* text = nullptr;
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  if (!Base64_EasyEncode(data, bytes.size(), &text)) throw std::bad_alloc();
  const std::unique_ptr<char, Release> owned(text);
  return std::string(text);
}

std::optional<std::string> DecodeBase64(const std::string& text) {
  // The decoder reads up to the first NUL, which a JSON string can hold.
  if (text.find('\0') != std::string::npos) return std::nullopt;
  std::uint8_t* bytes = nullptr;
  std::size_t length = 0;
  if (!Base64_EasyDecode(text.c_str(), &bytes, &length)) return std::nullopt;
  const std::unique_ptr<std::uint8_t, Release> owned(bytes);
  return std::string(reinterpret_cast<const char*>(bytes), length);
}

}  // namespace Quorctl
