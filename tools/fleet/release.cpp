// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/release.h"

#include "catalogue/canonical_order.h"
#include "catalogue/difference.h"
#include "catalogue/document_reader.h"
#include "catalogue/document_rules.h"
#include "catalogue/document_writer.h"
#include "catalogue/losses.h"
#include "fleet/compression.h"
#include "fleet/sha256.h"

namespace QuorFleet {

using Quorctl::Catalogue;
using Quorctl::Change;
using Quorctl::Counted;
using Quorctl::RecordKind;

namespace {

constexpr std::size_t kMostDeletedOneIn = 5;  // a fifth

bool IsTooMuch(std::size_t deleted, std::size_t before) {
  return deleted * kMostDeletedOneIn > before;
}

std::string Shortened(const std::string& sha256) {
  constexpr std::size_t kShown = 12;
  return sha256.empty() ? "none" : sha256.substr(0, kShown);
}

}  // namespace

const char* RefusalWord(Refusal refusal) {
  switch (refusal) {
    case Refusal::kHash:
      return "hash";
    case Refusal::kSignature:
      return "signature";
    case Refusal::kDocument:
      return "document";
    case Refusal::kEmpty:
      return "empty";
    case Refusal::kShrunk:
      break;
  }
  return "shrunk";
}

std::string CanonicalDocument(Catalogue catalogue) {
  catalogue.basis.clear();
  Quorctl::PutInCanonicalOrder(&catalogue);
  return Quorctl::CatalogueAsDocument(catalogue);
}

Catalogue ReadWholeDocument(const std::string& text, const std::string& source) {
  Catalogue catalogue = Quorctl::ReadCatalogueDocument(text, source);
  Quorctl::DocumentProblems problems;
  Quorctl::FindRepeatedKeys(catalogue, "a host would keep only one of the two", &problems);
  Quorctl::FindNamelessBlobs(catalogue, "a host with the configuration store would not keep it",
                             &problems);
  problems.Raise(text, source);
  return catalogue;
}

Catalogue OpenRelease(std::int64_t release, const std::string& sha256,
                      const ReleaseDocument& document, const VerifyingKeys& keys,
                      std::string* text) {
  const std::optional<std::string> bytes = Uncompressed(document.compressed);
  if (!bytes) {
    throw ReleaseRefused(Refusal::kHash, release,
                         "the document at the centre is damaged; publish it anew with --again");
  }
  const std::string found = Sha256Hex(*bytes);
  if (found != sha256 || document.sha256 != sha256) {
    throw ReleaseRefused(Refusal::kHash, release,
                         "the document has the hash " + Shortened(found) + ", promised was " +
                             Shortened(sha256) + "; publish it anew with --again");
  }
  if (keys.Any() && !keys.Accept(release, sha256, document.signature)) {
    throw ReleaseRefused(
        Refusal::kSignature, release,
        std::string(document.signature.empty() ? "it is not signed" : "no known key signed it") +
            "; publish it anew with --again and --key");
  }
  try {
    Catalogue catalogue = ReadWholeDocument(*bytes, "the document");
    if (text) *text = *bytes;
    return catalogue;
  } catch (const Quorctl::DocumentError& failure) {
    throw ReleaseRefused(Refusal::kDocument, release, failure.what());
  }
}

void ExpectNoLoss(std::int64_t release, const Catalogue& before, const Catalogue& after,
                  bool mayEmpty, bool mayShrink) {
  if (after.policies.empty() && after.datastores.empty() && !mayEmpty) {
    throw ReleaseRefused(Refusal::kEmpty, release,
                         "the document is empty; publish it with --may-empty if that is meant");
  }
  if (mayShrink || (mayEmpty && after.policies.empty() && after.datastores.empty())) return;
  const auto differences = Quorctl::CompareCatalogues(before, after);
  const std::size_t policies = CountOf(differences, Change::kDeleted, RecordKind::kPolicy);
  const std::size_t datastores = CountOf(differences, Change::kDeleted, RecordKind::kDatastore);
  if (!IsTooMuch(policies, before.policies.size()) &&
      !IsTooMuch(datastores, before.datastores.size())) {
    return;
  }
  throw ReleaseRefused(Refusal::kShrunk, release,
                       "it deletes " + std::to_string(policies) + " of " +
                           Counted(before.policies.size(), "policy", "policies") + " and " +
                           std::to_string(datastores) + " of " +
                           Counted(before.datastores.size(), "datastore", "datastores") +
                           ", more than a fifth; publish it with --may-shrink if that is meant");
}

}  // namespace QuorFleet
