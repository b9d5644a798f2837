// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Snapshots of format 1, which version 1.0.0 wrote.
//
//   cdb        table of 2048 bytes, records, hash tables: a constant database. Records are those of
//              format 2
//   directory  for each kind: u32 length of its name, u32 number of records, name, u32 position of
//              each record
//   footer     u64 magic, u32 version, u32 number of kinds, u64 start of the hash tables, u64 start
//              of the directory, u64 size of the file, u64 checksum over the table and everything
//              from the hash tables up to here
//
// The hash tables are ignored: the whole file is read and converted to format 2 in memory.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_FORMAT1_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_FORMAT1_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace TavConfigStore {

struct ConvertedSnapshot {
  std::string bytes;                      // in format 2, records where they were
  std::vector<std::uint32_t> unreadable;  // numbers of damaged records, which are in no index
};

// `file` ends with a footer of version 1. Raises kCorrupt if directory or hash tables are damaged.
ConvertedSnapshot ConvertFormat1(std::string_view file, const std::string& path);

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_FORMAT1_H_
