// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Comparison of identifiers and names in a scan of the catalogue.
#ifndef SRC_API_IDENTIFIER_H_
#define SRC_API_IDENTIFIER_H_

#include <string>

namespace TavQuor {

// Compares the last byte first: identifiers of one catalogue mostly share length and prefix.
inline bool SameIdentifier(const std::string& a, const std::string& b) {
  return a.size() == b.size() && (a.empty() || a.back() == b.back()) && a == b;
}

}  // namespace TavQuor

#endif  // SRC_API_IDENTIFIER_H_
