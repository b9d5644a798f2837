// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The order of records in a document that will be compared, kept or applied again.
#ifndef TOOLS_CATALOGUE_CANONICAL_ORDER_H_
#define TOOLS_CATALOGUE_CANONICAL_ORDER_H_

#include "catalogue/catalogue.h"

namespace Quorctl {

// Sorts policies by identifier, the blobs of each by namespace, datastores by URL, as bytes. Where
// two of these keys are equal that list stays as it is stored: the digest then depends on the order
// of the list, and a catalogue that is applied again must have the same digest.
void PutInCanonicalOrder(Catalogue* catalogue);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_CANONICAL_ORDER_H_
