// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/stored_text.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "configfile/document_outline.h"
#include "platform/base64.h"
#include "util/plain_text.h"

namespace ZynCtl::Config {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kMark = "\0base64:"sv;

// Fast path: true if the text is ASCII without NUL.
bool IsPlain(std::string_view bytes) {
  const auto isOther = [](char c) { return static_cast<signed char>(c) <= 0; };
  const std::size_t at = HostPlatform::SkipBlocks(bytes, 0, [](HostPlatform::ByteBlock block) {
    return HostPlatform::AnyByte((block == 0) | (block > 127));
  });
  return std::none_of(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end(), isOther);
}

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

bool IsReadable(std::string_view bytes) {
  if (IsPlain(bytes)) return true;
  return bytes.find('\0') == std::string_view::npos && FindInvalidUtf8(bytes) == bytes.size();
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
