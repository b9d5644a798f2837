// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Any text is decoded or refused, and one text only stands for some bytes; any bytes come back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "expect.h"
#include "platform/base64.h"

namespace {

using Fuzz::Expect;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
using Text = std::unique_ptr<char, Free>;
using Bytes = std::unique_ptr<std::uint8_t, Free>;

Text Encode(const std::uint8_t* bytes, std::size_t length) {
  char* text = nullptr;
  Expect(Base64_EasyEncode(bytes, length, &text), "bytes can be encoded");
  return Text(text);
}

void DecodeText(const char* text) {
  std::uint8_t* decoded = nullptr;
  std::size_t length = 0;
  if (!Base64_EasyDecode(text, &decoded, &length)) return;
  const Bytes bytes(decoded);
  const Text again = Encode(bytes.get(), length);
  Expect(std::string_view(again.get()) == text, "no other text stands for the same bytes");
}

void EncodeBytes(const std::uint8_t* data, std::size_t size) {
  const Text text = Encode(data, size);
  std::uint8_t* decoded = nullptr;
  std::size_t length = 0;
  Expect(Base64_EasyDecode(text.get(), &decoded, &length), "what was encoded can be decoded");
  const Bytes bytes(decoded);
  Expect(length == size && (size == 0 || std::memcmp(bytes.get(), data, size) == 0),
         "the bytes come back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Up to the first NUL, which ends the text, in a block of its own.
  const std::size_t length = strnlen(reinterpret_cast<const char*>(data), size);
  const auto text = std::make_unique<char[]>(length + 1);
  if (length != 0) std::memcpy(text.get(), data, length);
  DecodeText(text.get());
  EncodeBytes(data, size);
  return 0;
}
