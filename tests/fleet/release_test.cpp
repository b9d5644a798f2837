// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/release.h"

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include "fleet/compression.h"
#include "fleet/fleet_error.h"
#include "fleet/sha256.h"

namespace QuorFleet {
namespace {

using Quorctl::Catalogue;

struct KeyPair {
  std::string secret;
  std::string open;
};

std::string TextOf(BIO* bio) {
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(bio, &bytes);
  std::string text(bytes, static_cast<std::size_t>(size));
  BIO_free(bio);
  return text;
}

KeyPair NewKeyPair(const char* algorithm = "ED25519") {
  EVP_PKEY* const key = EVP_PKEY_Q_keygen(nullptr, nullptr, algorithm);
  BIO* const secret = BIO_new(BIO_s_mem());
  BIO* const open = BIO_new(BIO_s_mem());
  PEM_write_bio_PrivateKey(secret, key, nullptr, nullptr, 0, nullptr, nullptr);
  PEM_write_bio_PUBKEY(open, key);
  EVP_PKEY_free(key);
  return {TextOf(secret), TextOf(open)};
}

Catalogue WithRecords(int policies, int datastores) {
  Catalogue catalogue;
  for (int i = 0; i < policies; ++i) {
    const std::string name = std::to_string(i);
    catalogue.policies.push_back({{{"blob", "RILK"}}, "Policy " + name, "id-" + name, "", i});
  }
  for (int i = 0; i < datastores; ++i)
    catalogue.datastores.push_back({"ds:///" + std::to_string(i) + "/", "RILK", "id-0"});
  return catalogue;
}

ReleaseDocument Packed(const std::string& text) {
  return {Compressed(text), Sha256Hex(text), ""};
}

// The refusal of what is called, and a failure when there is none.
template <typename Call>
Refusal RefusalOf(const Call& call, const std::string& words) {
  try {
    call();
  } catch (const ReleaseRefused& refused) {
    EXPECT_NE(std::string(refused.what()).find(words), std::string::npos) << refused.what();
    return refused.refusal();
  }
  ADD_FAILURE() << "not refused";
  return Refusal::kHash;
}

TEST(Release, CanonicalDocumentDependsOnTheRecordsAlone) {
  Catalogue one = WithRecords(5, 5);
  Catalogue other = one;
  std::swap(other.policies[0], other.policies[4]);
  std::swap(other.datastores[1], other.datastores[3]);
  other.basis = "00000000000000000000000000000000:00000000000000000000000000000000";
  EXPECT_EQ(CanonicalDocument(one), CanonicalDocument(other));
  other.policies[0].generationNumber = 99;
  EXPECT_NE(CanonicalDocument(one), CanonicalDocument(other));
}

TEST(Release, WholeDocumentIsOpened) {
  const std::string text = CanonicalDocument(WithRecords(3, 2));
  const ReleaseDocument document = Packed(text);
  std::string read;
  const Catalogue catalogue = OpenRelease(7, document.sha256, document, {}, &read);
  EXPECT_EQ(read, text);
  EXPECT_EQ(CanonicalDocument(catalogue), text);
}

TEST(Release, DocumentWithAnotherHashIsRefused) {
  const ReleaseDocument document = Packed(CanonicalDocument(WithRecords(1, 1)));
  ReleaseDocument other = Packed(CanonicalDocument(WithRecords(2, 1)));
  EXPECT_EQ(RefusalOf([&] { OpenRelease(7, document.sha256, other, {}); }, "release 7: "),
            Refusal::kHash);
  other.sha256 = document.sha256;  // the centre says the right one of the wrong bytes
  EXPECT_EQ(RefusalOf([&] { OpenRelease(7, document.sha256, other, {}); }, "promised was"),
            Refusal::kHash);
}

TEST(Release, HalfADocumentIsRefused) {
  ReleaseDocument document = Packed(CanonicalDocument(WithRecords(9, 9)));
  document.compressed.resize(document.compressed.size() / 2);
  EXPECT_EQ(RefusalOf([&] { OpenRelease(7, document.sha256, document, {}); }, "damaged"),
            Refusal::kHash);
}

TEST(Release, DocumentThatBreaksARuleIsRefused) {
  Catalogue twice = WithRecords(2, 1);
  twice.policies[1].name = twice.policies[0].name;
  Catalogue nameless = WithRecords(1, 1);
  nameless.policies[0].blobs[0].second.clear();
  for (const std::string& text : {CanonicalDocument(twice), CanonicalDocument(nameless),
                                  std::string("{}"), std::string("no JSON")}) {
    const ReleaseDocument document = Packed(text);
    EXPECT_EQ(RefusalOf([&] { OpenRelease(7, document.sha256, document, {}); }, "release 7: "),
              Refusal::kDocument);
  }
}

TEST(Release, SignatureOfAKnownKeyIsTaken) {
  const KeyPair old = NewKeyPair();
  const KeyPair current = NewKeyPair();
  VerifyingKeys keys;
  keys.Add(old.open + current.open, "keys.pem");
  for (const KeyPair& pair : {old, current}) {
    ReleaseDocument document = Packed(CanonicalDocument(WithRecords(1, 1)));
    document.signature = SigningKey(pair.secret, "key.pem").Sign(7, document.sha256);
    EXPECT_EQ(OpenRelease(7, document.sha256, document, keys).policies.size(), 1U);
  }
}

TEST(Release, SignatureThatIsMissingWrongOrOfAnotherReleaseIsRefused) {
  const KeyPair known = NewKeyPair();
  VerifyingKeys keys;
  keys.Add(known.open, "keys.pem");
  ReleaseDocument document = Packed(CanonicalDocument(WithRecords(1, 1)));
  const auto open = [&] { OpenRelease(7, document.sha256, document, keys); };
  EXPECT_EQ(RefusalOf(open, "not signed"), Refusal::kSignature);
  document.signature = SigningKey(NewKeyPair().secret, "k").Sign(7, document.sha256);
  EXPECT_EQ(RefusalOf(open, "no known key"), Refusal::kSignature);
  document.signature = SigningKey(known.secret, "k").Sign(6, document.sha256);
  EXPECT_EQ(RefusalOf(open, "no known key"), Refusal::kSignature);
  document.signature = SigningKey(known.secret, "k").Sign(7, document.sha256) + "x";
  EXPECT_EQ(RefusalOf(open, "no known key"), Refusal::kSignature);
}

TEST(Release, FilesThatAreNoKeysAreRefusedByName) {
  const KeyPair pair = NewKeyPair();
  const KeyPair other = NewKeyPair("ED448");
  const auto problem = [](const auto& call) {
    try {
      call();
    } catch (const FleetError& failure) {
      return std::string(failure.what());
    }
    return std::string("none");
  };
  for (const std::string& text : {std::string(), std::string("x"), pair.open, other.secret})
    EXPECT_EQ(problem([&] { SigningKey(text, "key.pem"); }).find("key.pem: is no private"), 0U);
  for (const std::string& text : {std::string(), std::string("x"), pair.secret, other.open})
    EXPECT_EQ(problem([&] { VerifyingKeys().Add(text, "key.pem"); }).find("key.pem: is no public"),
              0U);
}

TEST(Release, EmptyDocumentNeedsItsMark) {
  const auto check = [](bool mayEmpty) {
    ExpectNoLoss(7, WithRecords(1, 1), Catalogue(), mayEmpty, /*mayShrink=*/false);
  };
  EXPECT_EQ(RefusalOf([&] { check(false); }, "release 7: the document is empty"), Refusal::kEmpty);
  check(true);
}

TEST(Release, MoreThanAFifthOfEitherKindNeedsItsMark) {
  const Catalogue before = WithRecords(10, 10);
  const auto check = [&](int policies, int datastores, bool mayShrink) {
    ExpectNoLoss(7, before, WithRecords(policies, datastores), false, mayShrink);
  };
  check(8, 8, false);  // a fifth is not more than a fifth
  EXPECT_EQ(RefusalOf([&] { check(7, 10, false); }, "3 of 10 policies"), Refusal::kShrunk);
  EXPECT_EQ(RefusalOf([&] { check(20, 7, false); }, "3 of 10 datastores"), Refusal::kShrunk);
  check(1, 1, true);
}

}  // namespace
}  // namespace QuorFleet
