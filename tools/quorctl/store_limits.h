// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Values that a host store would not keep unchanged.
#ifndef TOOLS_QUORCTL_STORE_LIMITS_H_
#define TOOLS_QUORCTL_STORE_LIMITS_H_

#include <string>
#include <vector>

#include "catalogue/catalogue.h"

namespace Quorctl {

// One line for each record that the configuration store (`inStore`) or the configuration file would
// change or drop; empty when the catalogue fits. The store keeps one record for each name, URL and
// namespace of a policy, and no blob without a namespace; the file reads generation numbers with 32
// bits.
std::vector<std::string> LostIn(bool inStore, const Catalogue& catalogue);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_STORE_LIMITS_H_
