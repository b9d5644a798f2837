// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Documents on their way: the format of zlib.
#ifndef TOOLS_FLEET_COMPRESSION_H_
#define TOOLS_FLEET_COMPRESSION_H_

#include <cstddef>
#include <optional>
#include <string>

namespace QuorFleet {

// The largest document that is taken.
inline constexpr std::size_t kLargestDocument = std::size_t{256} << 20;

std::string Compressed(const std::string& bytes);

// Nothing for bytes that are not one whole compressed text, or one of more than `most` bytes.
std::optional<std::string> Uncompressed(const std::string& bytes,
                                        std::size_t most = kLargestDocument);

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_COMPRESSION_H_
