// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Layout and checks of one record in a snapshot.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_RECORD_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_RECORD_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "services/bytes.h"
#include "services/checksum.h"
#include "store/object_contents.h"
#include "store/snapshot_format.h"

namespace TavConfigStore {

// Place of a record, for messages.
struct RecordPlace {
  const std::string& path;
  std::uint64_t position;
};

// Checksum over the record up to the checksum itself. Seeded with the snapshot's key, so that
// records of other files do not pass; 0 in format 1, which has no key.
inline std::uint64_t ChecksumOfRecord(std::string_view covered, std::uint64_t keySize,
                                      std::uint64_t key) {
  return HostPlatform::Checksum(covered, key + keySize);
}

// Splits the record at the start of `bytes`, which may be longer. Checks lengths only;
// CheckRecord() verifies the contents. Both raise kCorrupt.
RecordSource::Record SplitRecord(std::string_view bytes, std::string_view kind,
                                 const RecordPlace& place);
// `key` is the snapshot's.
void CheckRecord(const RecordSource::Record& record, std::uint32_t number, std::uint64_t key,
                 const RecordPlace& place);

// Parts of a verified record.
inline std::string_view KeyOfRecord(const char* record) {
  return {record + SnapshotFormat::kRecordHead, HostPlatform::LoadInteger<std::uint32_t>(record)};
}
inline std::string_view BodyOfRecord(const char* record) {
  using namespace SnapshotFormat;
  const std::size_t keySize = HostPlatform::LoadInteger<std::uint32_t>(record);
  const std::size_t dataSize = HostPlatform::LoadInteger<std::uint32_t>(record + 4);
  return {record + kRecordHead + keySize + kDataHead, dataSize - kDataHead - kChecksumSize};
}

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_RECORD_H_
