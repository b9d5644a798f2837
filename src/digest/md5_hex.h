// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// MD5 as text, of one text or of many.
#ifndef SRC_DIGEST_MD5_HEX_H_
#define SRC_DIGEST_MD5_HEX_H_

#include <cstddef>
#include <string>
#include <vector>

namespace TavQuor::Digest {

// The MD5 digest (RFC 1321) of `text` as 32 lower-case hexadecimal digits; the empty string for an
// empty text.
std::string Md5Hex(const std::string& text);

// The digests of many texts, one behind the other. Computes several at once where the platform can.
class Md5HexList {
 public:
  explicit Md5HexList(std::size_t texts) { digests_.reserve(kHexSize * texts); }

  // An empty text adds nothing.
  void Add(const std::string& text);

  // The digests of the texts in the order in which they were added.
  const std::string& Finish();

 private:
  static constexpr std::size_t kHexSize = 32;

  std::string digests_;
  std::string waiting_;            // texts without a digest yet
  std::vector<std::size_t> ends_;  // of these texts
};

}  // namespace TavQuor::Digest

#endif  // SRC_DIGEST_MD5_HEX_H_
