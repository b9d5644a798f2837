// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <cstring>
#include <utility>

#include "bytes.h"
#include "failure.h"
#include "quor/quor_lib.h"
#include "text.h"

using QuorC::Argument;
using QuorC::Guard;
using TavQuor::QuorLib;

namespace {

template <typename Lookup>
quor_status LookUp(quor_bytes* blob, quor_error** error, Lookup lookup) noexcept {
  if (blob != nullptr) *blob = QuorC::kNoBytes;
  return Guard(error, [&] {
    if (blob == nullptr) throw std::invalid_argument("a null pointer was given for the blob");
    *blob = QuorC::Release(lookup());
  });
}

template <std::size_t room>
void Store(const std::string& digest, char (&text)[room]) {
  if (digest.size() >= room) throw std::length_error("a digest is too long");
  std::memcpy(text, digest.c_str(), digest.size() + 1);
}

}  // namespace

quor_status quor_rilk_blob_by_id(const char* policy_id, size_t length, quor_bytes* blob,
                                 quor_error** error) {
  return LookUp(blob, error, [&] {
    return QuorLib::GetRilkPolicyBlobById(std::string(Argument(policy_id, length)));
  });
}

quor_status quor_rilk_blob_by_name(const char* name, size_t length, quor_bytes* blob,
                                   quor_error** error) {
  return LookUp(blob, error, [&] {
    return QuorLib::GetRilkPolicyBlobByName(std::string(Argument(name, length)));
  });
}

quor_status quor_default_blob(const char* url, size_t length, quor_bytes* blob,
                              quor_error** error) {
  return LookUp(blob, error,
                [&] { return QuorLib::GetDefaultPolicyBlob(std::string(Argument(url, length))); });
}

quor_status quor_blob_by_id(const char* policy_id, size_t policy_id_length, const char* url,
                            size_t url_length, quor_bytes* blob, quor_error** error) {
  return LookUp(blob, error, [&] {
    return QuorLib::GetPolicyBlobById(std::string(Argument(policy_id, policy_id_length)),
                                      std::string(Argument(url, url_length)));
  });
}

quor_status quor_digests_get(quor_digests* digests, quor_error** error) {
  if (digests != nullptr) digests->policies[0] = digests->datastores[0] = '\0';
  return Guard(error, [&] {
    if (digests == nullptr) throw std::invalid_argument("a null pointer was given for the digests");
    const std::pair<std::string, std::string> both = QuorLib::GetDbHash();
    quor_digests result;
    Store(both.first, result.policies);
    Store(both.second, result.datastores);
    *digests = result;
  });
}

quor_status quor_reset(quor_error** error) {
  return Guard(error, [] { QuorLib::Reset(); });
}
