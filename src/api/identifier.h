// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Identifiers and names in a scan of the catalogue.
#ifndef SRC_API_IDENTIFIER_H_
#define SRC_API_IDENTIFIER_H_

#include <string>

namespace TavQuor {

// Those of one catalogue are mostly of one length and begin alike, so their ends tell most apart.
inline bool SameIdentifier(const std::string& a, const std::string& b) {
  return a.size() == b.size() && (a.empty() || a.back() == b.back()) && a == b;
}

}  // namespace TavQuor

#endif  // SRC_API_IDENTIFIER_H_
