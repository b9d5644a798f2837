// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What tells two catalogues apart.
#ifndef TOOLS_CATALOGUE_DIFFERENCE_H_
#define TOOLS_CATALOGUE_DIFFERENCE_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"

namespace Quorctl {

enum class Change { kDeleted, kAdded, kChanged };
enum class RecordKind { kPolicy, kDatastore };

// One field that is not the same in both, by its key in a catalogue document ("generation",
// "defaultPolicy"). A blob is named "blobs" and its namespace ("blobs RILK"); its value is its
// size ("512 bytes"), and it has none where it is not there.
struct FieldChange {
  std::string field;
  std::optional<std::string> before;
  std::optional<std::string> after;
};

// One record that is not the same in both.
struct Difference {
  Change change = Change::kChanged;
  RecordKind kind = RecordKind::kPolicy;
  std::string name;  // the policy's name or the datastore's URL; of a changed one the new one
  std::string id;    // the policy's identifier, the new one; empty for a datastore
  std::vector<FieldChange> fields;  // of a changed record
  std::size_t indexBefore = 0;      // in the list of the one catalogue, unless it was added
  std::size_t indexAfter = 0;       // in that of the other, unless it was deleted
};

// The differences that lead from `before` to `after`: deletions first, then additions, then
// changes; policies before datastores in each; in the order of the catalogue that has the record.
// Empty when both hold the same records, in whatever order; the blobs of a policy have none either.
//
// Records belong together when they are equal, then when they have the same name or URL, then (of
// policies) the same identifier, so that a renamed policy is changed, not deleted.
std::vector<Difference> CompareCatalogues(const Catalogue& before, const Catalogue& after);

// True if both catalogues hold the same records, in any order.
bool AreSameRecords(const Catalogue& a, const Catalogue& b);

// How many of the differences are of this change and kind.
std::size_t CountOf(const std::vector<Difference>& differences, Change change, RecordKind kind);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DIFFERENCE_H_
