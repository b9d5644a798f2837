// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Constant strings that are never destroyed.
#ifndef SRC_API_LASTING_STRING_H_
#define SRC_API_LASTING_STRING_H_

#include <new>
#include <string>

// The leak sanitizer's, in programs that have it.
extern "C" [[gnu::weak]] void __lsan_ignore_object(const void* object);  // NOLINT: its name

namespace TavQuor {

// Constructed at load time and never destroyed, because exit handlers and threads that outlive
// main() call after the library's destructors. The characters of a long string leak at unloading.
class LastingString {
 public:
  explicit LastingString(const char* text) : string_(new (memory_) std::string(text)) {
    if (&__lsan_ignore_object != nullptr) __lsan_ignore_object(string_->data());
  }
  LastingString(const LastingString&) = delete;
  LastingString& operator=(const LastingString&) = delete;

  // For arguments of the platform's functions.
  operator const std::string&() const { return *string_; }  // NOLINT(google-explicit-constructor)

 private:
  alignas(std::string) unsigned char memory_[sizeof(std::string)];
  const std::string* string_;
};

}  // namespace TavQuor

#endif  // SRC_API_LASTING_STRING_H_
