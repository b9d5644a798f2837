// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The bytes of a snapshot, format 2.
//
//   records   in the order of their numbers: u32 length of the key, u32 length of the data, key
//             (kind and instance, object_key.h), data: u8 version, u32 number, body
//             (record_codec.h), u64 checksum over the key and the data before it, whose seed is
//             the snapshot's key plus the length of the record's
//   pages     of 4096 bytes, the last 8 a checksum of the others; its seed is the snapshot's key
//             plus the page's number, so that no page of another place or file passes. First the
//             positions of the records, 1022 to a page; then the index of keys; then that of values
//   kinds     for each kind: u32 length of its name, u32 number of its records, name. Numbers count
//             on from kind to kind; no kind is without records
//   root      u64 end of the records, u32 number of records, u32 home pages and u32 pages of the
//             index of keys, both of the index of values, u32 0
//   footer    u64 magic, u32 version, u32 number of kinds, u64 key, u64 start of the kinds,
//             u64 size of the file, u64 checksum over everything from the kinds up to here
//
// A page of an index: u32 number of entries, u32 1 if they go on in the next page, 340 times u64
// hash, 340 times u32 record number. Entries are in the order of their hashes; each is in its home
// page, the upper half of the hash times the number of home pages, divided by 2^32, or where that
// was full in one of the pages that follow. Hashes are XXH3, each with the one before as seed:
//
//   kind      of the name of the kind; seed: the snapshot's key
//   record    of the instance; seed: kind
//   name      of the name of a value; seed: kind plus 1
//   value     of a string value; seed: name
//
// The index of keys has `record` of each record. That of values has for the string values at the
// top of objects `value` of each with the first record that has it, and for each name of a value
// that is no string in some record `name` with the first such record. The key is chosen at random
// for each snapshot: names that collide cannot be prepared.
//
// Integers are little-endian. The footer's checksum covers what opening needs, each page and each
// record has its own: a damaged record is told from an absent one and hides no other.
#ifndef PLATFORM_SRC_STORE_SNAPSHOT_FORMAT_H_
#define PLATFORM_SRC_STORE_SNAPSHOT_FORMAT_H_

#include <cstdint>

namespace TavConfigStore::SnapshotFormat {

inline constexpr std::uint32_t kRecordHead = 8;  // key length, data length
inline constexpr unsigned char kRecordVersion = 1;
inline constexpr std::uint32_t kDataHead = 1 + 4;  // version, number
inline constexpr std::uint32_t kChecksumSize = 8;

inline constexpr std::uint32_t kPageSize = 4096;
inline constexpr std::uint32_t kPageContent = kPageSize - kChecksumSize;
inline constexpr std::uint32_t kPositionsPerPage = kPageContent / 4;
inline constexpr std::uint32_t kEntriesPerPage = 340;
inline constexpr std::uint32_t kUsualEntriesPerPage = 238;  // 70 %: few pages overflow
inline constexpr std::uint32_t kHashesInPage = 8;
inline constexpr std::uint32_t kNumbersInPage = kHashesInPage + 8 * kEntriesPerPage;
static_assert(kNumbersInPage + 4 * kEntriesPerPage == kPageContent);

inline constexpr std::uint32_t kRootSize = 8 + 6 * 4;
inline constexpr std::uint64_t kMagic = 0x31'52'4f'54'53'46'43'51;  // "QCFSTOR1", of all formats
inline constexpr std::uint32_t kVersion = 2;
inline constexpr std::uint32_t kFooterSize = 8 + 4 + 4 + 8 + 8 + 8 + 8;
inline constexpr std::uint64_t kSmallestFile = 2 * kPageSize + kRootSize + kFooterSize;

inline constexpr std::uint64_t kLargestFile = 0xffffffff;  // positions have 32 bits

}  // namespace TavConfigStore::SnapshotFormat

#endif  // PLATFORM_SRC_STORE_SNAPSHOT_FORMAT_H_
