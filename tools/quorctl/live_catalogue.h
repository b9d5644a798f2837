// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The catalogue that the host has now.
#ifndef TOOLS_QUORCTL_LIVE_CATALOGUE_H_
#define TOOLS_QUORCTL_LIVE_CATALOGUE_H_

#include "catalogue/catalogue.h"

namespace Quorctl {

// All records, in the order in which they are stored. Raises CommandError when the store holds
// records that cannot be read: what is made of the rest would pass for the whole. Raises it too
// when the catalogue keeps changing meanwhile. A command that calls it stays with one store before.
Catalogue ReadLiveCatalogue();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_LIVE_CATALOGUE_H_
