// The recording platform's Base64: the stand-alone platform's own, which a test can make fail.
#include "platform/base64.h"

#include "recording/platform.h"

// The stand-alone platform's, renamed when its source is compiled for these tests.
extern "C" {
bool StandAlone_Base64_EasyEncode(const uint8_t* bytes, size_t length, char** text);
bool StandAlone_Base64_EasyDecode(const char* text, uint8_t** bytes, size_t* length);
}

using Recording::Quoted;

namespace {

bool Fails(const char* function, std::string_view argument) {
  Recording::LogCall(function + (" " + Quoted(argument)));
  Recording::Platform& platform = Recording::ThePlatform();
  ++platform.base64Calls;
  return platform.base64Fails && platform.base64Fails(platform.base64Calls);
}

}  // namespace

bool Base64_EasyEncode(const uint8_t* bytes, size_t length, char** text) {
  const std::string_view argument(reinterpret_cast<const char*>(bytes), length);
  if (Fails("Base64_EasyEncode", argument)) return false;
  return StandAlone_Base64_EasyEncode(bytes, length, text);
}

bool Base64_EasyDecode(const char* text, uint8_t** bytes, size_t* length) {
  if (Fails("Base64_EasyDecode", text)) return false;
  return StandAlone_Base64_EasyDecode(text, bytes, length);
}
