// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Formatting into a caller's buffer.
#ifndef PLATFORM_STR_H_
#define PLATFORM_STR_H_

#include <stddef.h>

#include "platform/export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Formats like snprintf(): writes at most `size` bytes with the terminating NUL to `buffer` and
// returns the length that the whole text has, or a negative number when `format` is in error.
PLATFORM_API int Str_Sprintf(char* buffer, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_STR_H_
