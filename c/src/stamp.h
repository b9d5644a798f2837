// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Identity of a file's content, without reading it.
#ifndef C_SRC_STAMP_H_
#define C_SRC_STAMP_H_

#include <cstdint>
#include <string>

#include "host_paths.h"

namespace QuorC {

// All zero for a file that is missing or inaccessible.
struct Stamp {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::int64_t changed = 0;   // nanoseconds since the epoch
  std::int64_t modified = 0;  // nanoseconds since the epoch

  bool operator==(const Stamp&) const = default;
  bool IsSameFile(const Stamp& other) const {
    return device == other.device && inode == other.inode;
  }
};

// Follows symbolic links.
Stamp StampOf(const std::string& path);

// Stamps of the host directory and of the catalogue's files in it.
struct HostStamp {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::array<Stamp, kPlaces.size()> places;

  bool operator==(const HostStamp&) const = default;
};

HostStamp StampOfHost(const std::string& directory);

// True if a file changed so recently that another change may leave the same stamp, since the clocks
// of file systems tick and inodes are reused.
bool IsYoung(const HostStamp& stamp);

}  // namespace QuorC

#endif  // C_SRC_STAMP_H_
