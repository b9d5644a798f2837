// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Base64 with the alphabet and padding of RFC 4648, section 4: padding required, no line breaks, no
// other characters, unused bits zero. Text has one form only, so equal text means equal bytes.
#ifndef PLATFORM_BASE64_H_
#define PLATFORM_BASE64_H_

#include <stddef.h>
#include <stdint.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "platform/export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Encodes `length` bytes at `bytes` (any values; may be null when `length` is 0) into a newly
// allocated, NUL-terminated text at `*text`, which the caller releases with free(). Returns false,
// with `*text` untouched, when memory is short.
PLATFORM_API bool Base64_EasyEncode(const uint8_t* bytes, size_t length, char** text);

// Decodes the NUL-terminated `text` into newly allocated bytes at `*bytes`, `*length` of them,
// which the caller releases with free(); not null for the empty text either. Returns false, with
// both results untouched, when the text is not valid Base64 or memory is short.
PLATFORM_API bool Base64_EasyDecode(const char* text, uint8_t** bytes, size_t* length);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_BASE64_H_
