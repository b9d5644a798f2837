// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Byte strings as JSON text.
//
// Text that is valid UTF-8 without NUL is stored as it is, for people to read and edit. Any other
// byte string is stored as U+0000, "base64:" and its Base64. No readable text holds a NUL, so
// neither form can be taken for the other.
#ifndef PLATFORM_SRC_CONFIGFILE_STORED_TEXT_H_
#define PLATFORM_SRC_CONFIGFILE_STORED_TEXT_H_

#include <string>
#include <string_view>

namespace ZynCtl::Config {

std::string EncodeText(std::string bytes);

// Returns false when the text is marked as Base64 and is none.
bool DecodeText(std::string_view text, std::string* bytes);

// Whether the bytes are stored as they are.
bool IsReadable(std::string_view bytes);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_STORED_TEXT_H_
