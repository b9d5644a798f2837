// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The digests of a catalogue that no store keeps: of one in a document.
#ifndef TOOLS_CATALOGUE_DIGESTS_H_
#define TOOLS_CATALOGUE_DIGESTS_H_

#include <string>
#include <utility>

#include "catalogue/catalogue.h"

namespace Quorctl {

using Digests = std::pair<std::string, std::string>;  // of the policies, of the datastores

// "POLICIES:DATASTORES", as options and documents hold them.
inline std::string Joined(const Digests& digests) {
  return digests.first + ':' + digests.second;
}

// The digests that QuorLib::GetDbHash() returns on a host that lists these records in this order.
Digests DigestsOf(const Catalogue& catalogue);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_DIGESTS_H_
