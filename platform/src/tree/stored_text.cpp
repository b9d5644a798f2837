// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tree/stored_text.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "platform/base64.h"
#include "services/utf8.h"

namespace ZynCtl::Config {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kMark = "\0base64:"sv;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

bool IsReadable(std::string_view bytes) {
  return bytes.find('\0') == std::string_view::npos &&
         HostPlatform::FindInvalidUtf8(bytes) == bytes.size();
}

std::string EncodeText(std::string bytes) {
  if (IsReadable(bytes)) return bytes;
  char* text = nullptr;
  if (!Base64_EasyEncode(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), &text)) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<char, Free> owned(text);
  return std::string(kMark) + text;
}

bool DecodeText(std::string_view text, std::string* bytes) {
  if (!text.starts_with(kMark)) {
    *bytes = text;
    return true;
  }
  const std::string base64(text.substr(kMark.size()));  // ends with a NUL
  uint8_t* decoded = nullptr;
  size_t length = 0;
  if (base64.find('\0') != std::string::npos ||
      !Base64_EasyDecode(base64.c_str(), &decoded, &length)) {
    return false;
  }
  const std::unique_ptr<uint8_t, Free> owned(decoded);
  bytes->assign(reinterpret_cast<const char*>(decoded), length);
  return true;
}

}  // namespace ZynCtl::Config
