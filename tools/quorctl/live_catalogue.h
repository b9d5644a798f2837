// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogue of the host store that this process uses, as one state.
#ifndef TOOLS_QUORCTL_LIVE_CATALOGUE_H_
#define TOOLS_QUORCTL_LIVE_CATALOGUE_H_

#include <string>

#include "catalogue/catalogue.h"
#include "store_stamp.h"

namespace Quorctl {

struct LiveCatalogue {
  Catalogue catalogue;
  StoreStamp stamp;              // of the file that it was read from
  std::size_t lostPolicies = 0;  // those that cannot be read
  std::size_t lostDatastores = 0;
};

// Both kinds of records, of one moment, each read once. Raises CommandError when the catalogue does
// not stay the same for that long, and with `complete` when a record cannot be read.
LiveCatalogue ReadLiveCatalogue(bool complete = true);

// The same for a document: in canonical order, and telling on which digests it is based.
Catalogue LiveDocument();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_LIVE_CATALOGUE_H_
