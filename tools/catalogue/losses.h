// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Lookups that had an answer before a change of the catalogue and have none after it.
#ifndef TOOLS_CATALOGUE_LOSSES_H_
#define TOOLS_CATALOGUE_LOSSES_H_

#include <cstddef>
#include <string>

#include "catalogue/catalogue.h"
#include "catalogue/difference.h"

namespace Quorctl {

// Counts of keys by which something was found before and is not afterwards.
struct Losses {
  std::size_t policies = 0;     // deleted
  std::size_t datastores = 0;   // deleted
  std::size_t blobs = 0;        // removed or emptied, of policies that stay
  std::size_t identifiers = 0;  // that no policy has any more, of policies that stay
  std::size_t names = 0;        // likewise
  std::size_t defaults = 0;     // datastores that stay, whose default policy gave a blob

  bool Any() const { return policies + datastores + blobs + identifiers + names + defaults > 0; }

  // "1 policy and 0 datastores, 3 blobs and 1 identifier of a policy"
  std::string InWords() const;
};

// `differences` are those of CompareCatalogues(before, after).
Losses FindLosses(const Catalogue& before, const Catalogue& after,
                  const std::vector<Difference>& differences);

// "1 policy", "2 policies"
std::string Counted(std::size_t count, const std::string& singular, const std::string& plural);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_LOSSES_H_
