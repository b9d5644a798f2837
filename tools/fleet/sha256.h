// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The name of a document.
#ifndef TOOLS_FLEET_SHA256_H_
#define TOOLS_FLEET_SHA256_H_

#include <string>

namespace QuorFleet {

// 64 lower-case hexadecimal digits.
std::string Sha256Hex(const std::string& bytes);

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_SHA256_H_
