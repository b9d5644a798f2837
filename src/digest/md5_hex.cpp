// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "digest/md5_hex.h"

#include <cstring>

#include "platform/crypto_hash.h"
#include "platform/str.h"

// Null where the host's platform does not have it.
#pragma weak CryptoHash_ComputeMD5OfEach

namespace TavQuor::Digest {
namespace {

constexpr std::size_t kMostWaiting = 64;                  // texts
constexpr std::size_t kMostBytes = std::size_t{1} << 20;  // of all but the last

void AppendHex(const unsigned char* digest, std::string* hex) {
  for (int i = 0; i < kCryptoHashMd5Size; ++i) {
    char digits[3] = {};
    Str_Sprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(digest[i]));
    hex->append(digits, digits[1] != '\0' ? 2 : std::strlen(digits));
  }
}

}  // namespace

std::string Md5Hex(const std::string& text) {
  std::string hex;
  if (text.empty()) return hex;
  unsigned char digest[kCryptoHashMd5Size] = {};
  CryptoHash_ComputeMD5(text.data(), text.size(), digest);
  hex.reserve(2 * sizeof digest);
  AppendHex(digest, &hex);
  return hex;
}

void Md5HexList::Add(const std::string& text) {
  if (text.empty()) return;
  if (CryptoHash_ComputeMD5OfEach == nullptr) {
    digests_ += Md5Hex(text);
    return;
  }
  waiting_ += text;
  ends_.push_back(waiting_.size());
  if (ends_.size() == kMostWaiting || waiting_.size() >= kMostBytes) Finish();
}

const std::string& Md5HexList::Finish() {
  std::vector<CryptoHashText> texts;
  texts.reserve(ends_.size());
  std::size_t begin = 0;
  for (const std::size_t end : ends_) {
    texts.push_back({waiting_.data() + begin, end - begin});
    begin = end;
  }
  std::vector<unsigned char> computed(kCryptoHashMd5Size * texts.size());
  if (!texts.empty()) CryptoHash_ComputeMD5OfEach(texts.data(), texts.size(), computed.data());
  for (std::size_t i = 0; i < texts.size(); ++i)
    AppendHex(&computed[kCryptoHashMd5Size * i], &digests_);
  waiting_.clear();
  ends_.clear();
  return digests_;
}

}  // namespace TavQuor::Digest
