// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Constant strings that calls may use at any time.
#ifndef SRC_API_LASTING_STRING_H_
#define SRC_API_LASTING_STRING_H_

#include <new>
#include <string>

// The leak sanitizer's, in programs that have it.
extern "C" [[gnu::weak]] void __lsan_ignore_object(const void* object);  // NOLINT: its name

namespace TavQuor {

// Made when the library is loaded and never destroyed: exit handlers, and threads that still run
// when the program ends, call after the library's destructors. Of a long one its characters stay
// behind when the library is unloaded.
class LastingString {
 public:
  explicit LastingString(const char* text) : string_(new (memory_) std::string(text)) {
    if (&__lsan_ignore_object != nullptr) __lsan_ignore_object(string_->data());
  }
  LastingString(const LastingString&) = delete;
  LastingString& operator=(const LastingString&) = delete;

  // As the platform's functions take it.
  operator const std::string&() const { return *string_; }  // NOLINT(google-explicit-constructor)

 private:
  alignas(std::string) unsigned char memory_[sizeof(std::string)];
  const std::string* string_;
};

}  // namespace TavQuor

#endif  // SRC_API_LASTING_STRING_H_
