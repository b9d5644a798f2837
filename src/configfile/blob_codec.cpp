// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/blob_codec.h"

#include <cstdlib>
#include <memory>

#include "platform/base64.h"
#include "zynctl/exception.h"

namespace TavQuor::ConfigFileBackend {

using ZynCtl::Config::ConfigFileException;

namespace {

// The platform allocates its results with malloc().
struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

std::string EncodeBlob(const std::string& blob) {
  char* text = nullptr;
  if (!Base64_EasyEncode(reinterpret_cast<const uint8_t*>(blob.data()), blob.size(), &text)) {
    throw ConfigFileException("Unable to Encode string");
  }
  const std::unique_ptr<char, Free> owned(text);
  return std::string(text);
}

std::string DecodeBlob(const std::string& text) {
  uint8_t* bytes = nullptr;
  size_t length = 0;
  if (!Base64_EasyDecode(text.c_str(), &bytes, &length)) {
    throw ConfigFileException("Unable to Decode string");
  }
  const std::unique_ptr<uint8_t, Free> owned(bytes);
  return std::string(reinterpret_cast<const char*>(bytes), length);
}

}  // namespace TavQuor::ConfigFileBackend
