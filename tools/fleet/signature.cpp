// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/signature.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <algorithm>
#include <climits>
#include <new>

#include "fleet/fleet_error.h"

namespace QuorFleet {
namespace {

constexpr std::size_t kSignatureSize = 64;

struct FreeBio {
  void operator()(BIO* bio) const { BIO_free(bio); }
};
struct FreeContext {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Bio = std::unique_ptr<BIO, FreeBio>;
using Context = std::unique_ptr<EVP_MD_CTX, FreeContext>;

Bio ReaderOf(const std::string& pem) {
  Bio bio(
      BIO_new_mem_buf(pem.data(), static_cast<int>(std::min<std::size_t>(pem.size(), INT_MAX))));
  if (!bio) throw std::bad_alloc();
  return bio;
}

// A key with a passphrase is refused: there is nobody to ask.
int NoPassphrase(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*user*/) {
  return -1;
}

[[noreturn]] void RaiseNoKey(const std::string& source, const std::string& kind) {
  ERR_clear_error();
  throw FleetError(FleetProblem::kSettings, "", source + ": is no " + kind + " Ed25519 key in PEM",
                   kind == "private"
                       ? "make one with \"openssl genpkey -algorithm ed25519\""
                       : "make it with \"openssl pkey -pubout\" from the private one");
}

std::string SignedText(std::int64_t release, const std::string& sha256) {
  return "quor-release\n" + std::to_string(release) + '\n' + sha256 + '\n';
}

const unsigned char* BytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

SigningKey::SigningKey(const std::string& pem, const std::string& source) {
  const Bio reader = ReaderOf(pem);
  key_.reset(PEM_read_bio_PrivateKey(reader.get(), nullptr, NoPassphrase, nullptr), EVP_PKEY_free);
  if (!key_ || EVP_PKEY_get_id(key_.get()) != EVP_PKEY_ED25519) RaiseNoKey(source, "private");
}

std::string SigningKey::Sign(std::int64_t release, const std::string& sha256) const {
  const std::string text = SignedText(release, sha256);
  unsigned char signature[kSignatureSize];
  std::size_t size = sizeof signature;
  const Context context(EVP_MD_CTX_new());
  if (!context || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key_.get()) != 1 ||
      EVP_DigestSign(context.get(), signature, &size, BytesOf(text), text.size()) != 1) {
    ERR_clear_error();
    throw std::bad_alloc();
  }
  return {reinterpret_cast<const char*>(signature), size};
}

void VerifyingKeys::Add(const std::string& pem, const std::string& source) {
  const Bio reader = ReaderOf(pem);
  std::size_t count = 0;
  for (;; ++count) {
    std::shared_ptr<evp_pkey_st> key(
        PEM_read_bio_PUBKEY(reader.get(), nullptr, NoPassphrase, nullptr), EVP_PKEY_free);
    if (!key) break;
    if (EVP_PKEY_get_id(key.get()) != EVP_PKEY_ED25519) RaiseNoKey(source, "public");
    keys_.push_back(std::move(key));
  }
  if (count == 0) RaiseNoKey(source, "public");
  ERR_clear_error();  // the end of the text is told as an error
}

bool VerifyingKeys::Accept(std::int64_t release, const std::string& sha256,
                           const std::string& signature) const {
  const std::string text = SignedText(release, sha256);
  const auto made = [&](const std::shared_ptr<evp_pkey_st>& key) {
    const Context context(EVP_MD_CTX_new());
    if (!context) throw std::bad_alloc();
    return EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
           EVP_DigestVerify(context.get(), BytesOf(signature), signature.size(), BytesOf(text),
                            text.size()) == 1;
  };
  const bool accepted = std::any_of(keys_.begin(), keys_.end(), made);
  ERR_clear_error();
  return accepted;
}

}  // namespace QuorFleet
