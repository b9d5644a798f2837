// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The recording platform's exceptions, feature switches, digest and formatters.
#include <md5.h>

#include <cstdarg>
#include <cstdio>
#include <utility>

#include "brisk/exception.h"
#include "brisk/format.h"
#include "platform/crypto_hash.h"
#include "platform/feature_list.h"
#include "platform/str.h"
#include "recording/memory.h"
#include "recording/platform.h"
#include "tavconfigstore/exception.h"

using Recording::LogCall;
using Recording::Quoted;
using Recording::ThePlatform;

namespace {

unsigned char configStoreSwitch = 1;
unsigned char everyOtherSwitch = 0;

}  // namespace

#define OTHER_SWITCH &everyOtherSwitch
#define OTHER_SWITCHES_8                                                              \
  OTHER_SWITCH, OTHER_SWITCH, OTHER_SWITCH, OTHER_SWITCH, OTHER_SWITCH, OTHER_SWITCH, \
      OTHER_SWITCH, OTHER_SWITCH
#define OTHER_SWITCHES_64                                                                   \
  OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCHES_8, \
      OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCHES_8

// An initialiser that is constant, so that the switches are in place before any code runs.
const unsigned char* const FeatureList[kFeatureCount] = {
    // 0 to 55, then 56 to 61
    OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCHES_8,
    OTHER_SWITCHES_8, OTHER_SWITCHES_8, OTHER_SWITCH, OTHER_SWITCH, OTHER_SWITCH, OTHER_SWITCH,
    OTHER_SWITCH, OTHER_SWITCH,
    // 62, then 63
    &configStoreSwitch, OTHER_SWITCH,
    // 64 to 255
    OTHER_SWITCHES_64, OTHER_SWITCHES_64, OTHER_SWITCHES_64};

void Recording::SetConfigStoreSwitch(unsigned char value) {
  configStoreSwitch = value;
  everyOtherSwitch = value == 0 ? 1 : 0;
}

int CryptoHash_ComputeMD5(const void* data, size_t length, unsigned char* digest) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  LogCall("CryptoHash_ComputeMD5 " +
          Quoted(std::string_view(static_cast<const char*>(data), length)));
  MD5_CTX context;
  MD5Init(&context);
  MD5Update(&context, bytes, length);
  MD5Final(digest, &context);
  return ThePlatform().utilityResult;
}

int Str_Sprintf(char* buffer, size_t size, const char* format, ...) {
  LogCall("Str_Sprintf size " + std::to_string(size) + " " + Quoted(format));
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer, size, format, arguments);
  va_end(arguments);
  return length + ThePlatform().utilityResult;
}

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
  const Recording::ReliableMemory reliable;
  if (ThePlatform().duringFormatting) ThePlatform().duringFormatting();
  va_list arguments;
  va_list argumentsAgain;
  va_start(arguments, format);
  va_copy(argumentsAgain, arguments);
  std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, arguments)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, argumentsAgain);
  va_end(argumentsAgain);
  va_end(arguments);
  LogCall("StrPrintf " + Quoted(format) + " gives " + Quoted(text));
  return text;
}

std::string StrCat(const Detail::StrBuf& first, const Detail::StrBuf& second,
                   const Detail::StrBuf& third) {
  const Recording::ReliableMemory reliable;
  if (ThePlatform().duringFormatting) ThePlatform().duringFormatting();
  std::string text(first.data, first.size);
  text.append(second.data, second.size);
  text.append(third.data, third.size);
  LogCall("StrCat gives " + Quoted(text));
  return text;
}

}  // namespace Misc
}  // namespace Brisk

namespace TavConfigStore {

ConfigStoreException::ConfigStoreException(std::string message, CSErrorCodes code)
    : BriskException(std::move(message)), code_(code) {}
ConfigStoreException::~ConfigStoreException() = default;

}  // namespace TavConfigStore
