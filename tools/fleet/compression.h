// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Compression of documents for the network, in zlib's format.
#ifndef TOOLS_FLEET_COMPRESSION_H_
#define TOOLS_FLEET_COMPRESSION_H_

#include <cstddef>
#include <optional>
#include <string>

namespace QuorFleet {

// The largest document that is taken.
inline constexpr std::size_t kLargestDocument = std::size_t{256} << 20;

std::string Compressed(const std::string& bytes);

// Returns nothing if the bytes are not one complete compressed text, or if it is longer than `most`
// bytes.
std::optional<std::string> Uncompressed(const std::string& bytes,
                                        std::size_t most = kLargestDocument);

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_COMPRESSION_H_
