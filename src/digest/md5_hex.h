// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// MD5 as text.
#ifndef SRC_DIGEST_MD5_HEX_H_
#define SRC_DIGEST_MD5_HEX_H_

#include <string>

namespace TavQuor::Digest {

// The MD5 digest (RFC 1321) of `text` as 32 lower-case hexadecimal digits; the empty string for an
// empty text.
std::string Md5Hex(const std::string& text);

}  // namespace TavQuor::Digest

#endif  // SRC_DIGEST_MD5_HEX_H_
