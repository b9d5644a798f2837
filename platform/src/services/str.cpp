// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "platform/str.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr char kDigits[] = "0123456789abcdef";

bool IsByteFormat(const char* format) {
  return format[0] == '%' && format[1] == '0' && format[2] == '2' && format[3] == 'x' &&
         format[4] == '\0';
}

}  // namespace

int Str_Sprintf(char* buffer, size_t size, const char* format, ...) {
  va_list arguments;
  // Fast path for the bytes of digests: vsnprintf() would take longer than the digest itself.
  if (size >= 3 && IsByteFormat(format)) {
    va_start(arguments, format);
    const unsigned value = va_arg(arguments, unsigned);
    va_end(arguments);
    if (value <= 0xff) {
      buffer[0] = kDigits[value >> 4];
      buffer[1] = kDigits[value & 0xf];
      buffer[2] = '\0';
      return 2;
    }
  }
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer, size, format, arguments);
  va_end(arguments);
  return length;
}
