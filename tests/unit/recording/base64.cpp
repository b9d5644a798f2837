// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The recording platform's Base64: the stand-alone platform's own, which a test can make fail.
#include "platform/base64.h"

#include "recording/memory.h"
#include "recording/platform.h"

// The stand-alone platform's, renamed when its source is compiled for these tests.
extern "C" {
bool StandAlone_Base64_EasyEncode(const uint8_t* bytes, size_t length, char** text);
bool StandAlone_Base64_EasyDecode(const char* text, uint8_t** bytes, size_t* length);
}

using Recording::Quoted;

namespace {

bool Fails(const char* function, std::string_view argument) {
  Recording::LogCall(function + (' ' + Quoted(argument)));
  Recording::Platform& platform = Recording::ThePlatform();
  ++platform.base64Calls;
  return platform.base64Fails && platform.base64Fails(platform.base64Calls);
}

// Remembers what the platform's call of a direction does with the place of its result.
template <typename Result, typename Call>
bool Remembered(bool fails, Result** result, const Call& call) {
  Recording::Base64Memory& memory = Recording::TheBase64Memory();
  memory.before = *result;
  if (fails) {
    if (memory.left != nullptr) *result = static_cast<Result*>(memory.left);
    return false;
  }
  if (!call()) return false;
  memory.handedOver = *result;
  if (memory.nextAllocationFails) Recording::FailAllocation(1);
  memory.nextAllocationFails = false;
  return true;
}

}  // namespace

bool Base64_EasyEncode(const uint8_t* bytes, size_t length, char** text) {
  const std::string_view argument(reinterpret_cast<const char*>(bytes), length);
  return Remembered(Fails("Base64_EasyEncode", argument), text,
                    [=] { return StandAlone_Base64_EasyEncode(bytes, length, text); });
}

bool Base64_EasyDecode(const char* text, uint8_t** bytes, size_t* length) {
  return Remembered(Fails("Base64_EasyDecode", text), bytes,
                    [=] { return StandAlone_Base64_EasyDecode(text, bytes, length); });
}
