// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/snapshot_record.h"

#include "errors/store_failure.h"
#include "store/record_codec.h"

namespace TavConfigStore {

using HostPlatform::CheckedSize;
using HostPlatform::LoadInteger;
using namespace SnapshotFormat;

RecordSource::Record SplitRecord(std::string_view bytes, std::string_view kind,
                                 const RecordPlace& place) {
  const bool hasHead = bytes.size() >= kRecordHead;
  const std::uint64_t keySize = hasHead ? LoadInteger<std::uint32_t>(bytes.data()) : 0;
  const std::uint64_t dataSize = hasHead ? LoadInteger<std::uint32_t>(bytes.data() + 4) : 0;
  if (!hasHead || keySize + dataSize > bytes.size() - kRecordHead || keySize < kind.size() ||
      dataSize < kDataHead + kChecksumSize) {
    RaiseCorrupt(place.path, "the lengths of the record at byte " + std::to_string(place.position) +
                                 " are wrong");
  }
  bytes.remove_prefix(kRecordHead);
  const std::size_t key = CheckedSize(keySize), data = CheckedSize(dataSize);
  return {kind, bytes.substr(kind.size(), key - kind.size()),
          bytes.substr(key + kDataHead, data - kDataHead - kChecksumSize)};
}

void CheckRecord(const RecordSource::Record& record, std::uint32_t number, std::uint64_t key,
                 const RecordPlace& place) {
  const char* const start = record.instance.data() - record.kind.size();
  const char* const data = record.instance.data() + record.instance.size();
  const char* const tail = record.body.data() + record.body.size();
  const auto keySize = static_cast<std::uint64_t>(data - start);
  const std::string_view covered(start, static_cast<std::size_t>(tail - start));
  const bool good = LoadInteger<std::uint64_t>(tail) == ChecksumOfRecord(covered, keySize, key) &&
                    static_cast<unsigned char>(data[0]) == kRecordVersion &&
                    LoadInteger<std::uint32_t>(data + 1) == number &&
                    covered.starts_with(record.kind);
  if (!good) {
    RaiseCorrupt(place.path, "the checksum of the record at byte " +
                                 std::to_string(place.position) + " is wrong");
  }
  CheckBody(record.body);
}

}  // namespace TavConfigStore
