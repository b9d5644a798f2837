// The bytes of a snapshot.
//
//   cdb         table of 2048 bytes, records, hash tables: a constant database that the cdb tool
//               reads. A record's key is its kind and instance (object_key.h); its data is
//               u8 version, u32 number, body (record_codec.h), u64 checksum over the key and the
//               data before it
//   directory   for each kind: u32 length of its name, u32 number of records, name, u32 position of
//               each record, in the order of first write; numbers count on from kind to kind, and
//               positions rise with them; no kind is without records
//   footer      u64 magic, u32 version, u32 number of kinds, u64 start of the hash tables,
//               u64 start of the directory, u64 size of the file, u64 checksum over the table and
//               everything from the hash tables up to here
//
// Integers are little-endian. The footer's checksum covers all that leads to records, each record
// has its own: a damaged record is told from an absent one and hides no other.
#ifndef PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_FORMAT_H_
#define PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_FORMAT_H_

#include <cstdint>

namespace TavConfigStore::SnapshotFormat {

inline constexpr std::uint32_t kTableSize = 2048;
inline constexpr std::uint32_t kRecordHead = 8;  // the cdb's own: key length, data length

inline constexpr unsigned char kRecordVersion = 1;
inline constexpr std::uint32_t kDataHead = 1 + 4;  // version, number
inline constexpr std::uint32_t kChecksumSize = 8;

inline constexpr std::uint64_t kMagic = 0x31'52'4f'54'53'46'43'51;  // "QCFSTOR1"
inline constexpr std::uint32_t kVersion = 1;
inline constexpr std::uint32_t kFooterSize = 8 + 4 + 4 + 8 + 8 + 8 + 8;

inline constexpr std::uint64_t kLargestFile = 0xffffffff;  // positions have 32 bits

}  // namespace TavConfigStore::SnapshotFormat

#endif  // PLATFORM_SRC_CONFIGSTORE_SNAPSHOT_FORMAT_H_
