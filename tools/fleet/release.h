// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A release, and the rules for refusing one. The publisher checks them before it makes a release,
// the agent again before it changes its host.
#ifndef TOOLS_FLEET_RELEASE_H_
#define TOOLS_FLEET_RELEASE_H_

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "catalogue/catalogue.h"
#include "fleet/signature.h"

namespace QuorFleet {

// What the channel of a host offers.
struct ReleaseHead {
  std::string host;
  std::string channel;
  std::optional<std::int64_t> release;  // none before the first one was promoted
  std::string sha256;
  bool mayEmpty = false;
  bool mayShrink = false;
  bool paused = false;
  std::int64_t bytes = 0;  // compressed
};

struct ReleaseDocument {
  std::string compressed;
  std::string sha256;     // of the uncompressed document, as the centre says
  std::string signature;  // empty: not signed
};

// The reason for refusing a release; its word labels counters.
enum class Refusal { kHash, kSignature, kDocument, kEmpty, kShrunk };
const char* RefusalWord(Refusal refusal);

// "release 12: the reason; the advice".
class ReleaseRefused : public std::runtime_error {
 public:
  ReleaseRefused(Refusal refusal, std::int64_t release, const std::string& reason)
      : std::runtime_error((release > 0 ? "release " + std::to_string(release) + ": " : "") +
                           reason),
        refusal_(refusal) {}

  Refusal refusal() const { return refusal_; }

 private:
  Refusal refusal_;
};

// The canonical document of a catalogue, whose SHA-256 names it: records in canonical order,
// without a basis.
std::string CanonicalDocument(Quorctl::Catalogue catalogue);

// The records of a release whose head promised `sha256`. Raises ReleaseRefused when the document is
// not that one or not whole, when keys are given and none of them signed it, and when the rules of
// the catalogue document are broken. `document`, when given, gets the uncompressed text.
Quorctl::Catalogue OpenRelease(std::int64_t release, const std::string& sha256,
                               const ReleaseDocument& document, const VerifyingKeys& keys,
                               std::string* text = nullptr);

// Checks text of any origin by the rules that "quorctl apply" has for both stores. Raises
// Quorctl::DocumentError.
Quorctl::Catalogue ReadWholeDocument(const std::string& text, const std::string& source);

// Raises ReleaseRefused if `after` is empty without `mayEmpty`, or deletes more than a fifth of the
// policies or of the datastores of `before` without `mayShrink`. `release` is 0 for one that is not
// made yet.
void ExpectNoLoss(std::int64_t release, const Quorctl::Catalogue& before,
                  const Quorctl::Catalogue& after, bool mayEmpty, bool mayShrink);

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_RELEASE_H_
