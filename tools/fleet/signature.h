// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Signatures of releases: Ed25519, keys in PEM as "openssl genpkey -algorithm ed25519" writes them.
//
// Signed is the release's number with the document's hash, so that an old document cannot be passed
// off under a new number.
#ifndef TOOLS_FLEET_SIGNATURE_H_
#define TOOLS_FLEET_SIGNATURE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct evp_pkey_st;

namespace QuorFleet {

class SigningKey {
 public:
  // `pem` holds a private key; `source` names it in messages. Raises FleetError (kSettings).
  SigningKey(const std::string& pem, const std::string& source);

  // 64 bytes.
  std::string Sign(std::int64_t release, const std::string& sha256) const;

 private:
  std::shared_ptr<evp_pkey_st> key_;
};

// Several public keys, so that a new one can be distributed before the old one is withdrawn.
class VerifyingKeys {
 public:
  // `pem` holds one or more public keys. Raises FleetError (kSettings) if it holds none.
  void Add(const std::string& pem, const std::string& source);

  bool Any() const { return !keys_.empty(); }

  // True if one of the keys made the signature.
  bool Accept(std::int64_t release, const std::string& sha256, const std::string& signature) const;

 private:
  std::vector<std::shared_ptr<evp_pkey_st>> keys_;
};

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_SIGNATURE_H_
