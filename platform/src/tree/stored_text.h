// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Escaping of byte strings in JSON text.
//
// Valid UTF-8 without NUL is stored literally, so that people can read and edit it. Any other byte
// string is stored as U+0000, "base64:" and its Base64. The leading NUL distinguishes the two
// forms.
#ifndef PLATFORM_SRC_TREE_STORED_TEXT_H_
#define PLATFORM_SRC_TREE_STORED_TEXT_H_

#include <string>
#include <string_view>

namespace ZynCtl::Config {

std::string EncodeText(std::string bytes);

// Returns false if the text is marked as Base64 and is not valid Base64.
bool DecodeText(std::string_view text, std::string* bytes);

// True if the bytes are stored literally.
bool IsReadable(std::string_view bytes);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_TREE_STORED_TEXT_H_
