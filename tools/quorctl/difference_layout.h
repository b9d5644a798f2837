// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Differences between catalogues for a RecordWriter.
#ifndef TOOLS_QUORCTL_DIFFERENCE_LAYOUT_H_
#define TOOLS_QUORCTL_DIFFERENCE_LAYOUT_H_

#include <vector>

#include "catalogue/difference.h"
#include "text/record_writer.h"

namespace Quorctl {

// "change", "kind", "name", "id", "fields", "values"; the fields of a table tell the values too.
const RecordLayout& DifferenceLayout();

// Adds the first ones, `most` of them at most.
void AddDifferences(const std::vector<Difference>& differences, std::size_t most,
                    RecordWriter* writer);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_DIFFERENCE_LAYOUT_H_
