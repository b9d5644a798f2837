// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/snapshot_format1.h"

#include "errors/store_failure.h"
#include "services/bytes.h"
#include "services/checksum.h"
#include "store/object_key.h"
#include "store/snapshot_format.h"
#include "store/snapshot_index.h"
#include "store/snapshot_record.h"

namespace TavConfigStore {

using HostPlatform::CheckedSize;
using HostPlatform::Checksum;
using HostPlatform::LoadInteger;
using HostPlatform::StoreInteger;
using namespace SnapshotFormat;

namespace {

constexpr std::uint32_t kTableSize = 2048;

std::uint32_t FirstLength(std::string_view bytes) {
  return LoadInteger<std::uint32_t>(bytes.data());
}

// Contents of the verified footer.
struct Parts {
  std::uint32_t kindCount;
  std::uint64_t recordsEnd;
  std::string_view directory;
};

Parts CheckFooter(std::string_view file, const std::string& path) {
  const std::uint64_t size = file.size();
  const char* const at = file.data() + file.size() - kFooterSize;
  const auto tables = LoadInteger<std::uint64_t>(at + 16);
  const auto directory = LoadInteger<std::uint64_t>(at + 24);
  const auto promised = LoadInteger<std::uint64_t>(at + 32);
  if (promised != size) {
    RaiseCorrupt(path,
                 "it has " + std::to_string(size) + " bytes and not " + std::to_string(promised));
  }
  if (tables < kTableSize || directory < tables || directory > size - kFooterSize) {
    RaiseCorrupt(path, "its footer points outside of it");
  }
  const std::uint64_t checksum =
      Checksum(file.substr(CheckedSize(tables), CheckedSize(size - kChecksumSize - tables)),
               Checksum(file.substr(0, kTableSize)));
  if (LoadInteger<std::uint64_t>(at + 40) != checksum) {
    RaiseCorrupt(path, "the checksum over its index is wrong");
  }
  return {LoadInteger<std::uint32_t>(at + 12), tables,
          file.substr(CheckedSize(directory), CheckedSize(size - kFooterSize - directory))};
}

struct StoredKind {
  std::string_view name;
  std::uint32_t count;
};

// The kinds, and the positions of all records.
void ReadDirectory(const Parts& parts, const std::string& path, std::vector<StoredKind>* kinds,
                   std::vector<std::uint32_t>* positions) {
  std::string_view directory = parts.directory;
  const auto take = [&](std::uint64_t size) {
    if (size > directory.size()) RaiseCorrupt(path, "its directory is cut short");
    const std::string_view taken = directory.substr(0, CheckedSize(size));
    directory.remove_prefix(CheckedSize(size));
    return taken;
  };
  for (std::uint32_t i = 0; i < parts.kindCount; ++i) {
    const std::string_view lengths = take(8);
    const std::uint32_t count = FirstLength(lengths.substr(4));
    kinds->push_back({take(FirstLength(lengths)), count});
    const std::string_view bytes = take(std::uint64_t{4} * count);
    for (std::size_t next = 0; next < bytes.size(); next += 4) {
      const std::uint32_t position = FirstLength(bytes.substr(next));
      if (position <= (positions->empty() ? 0 : positions->back())) {
        RaiseCorrupt(path, "its directory is not in the order of the records");
      }
      positions->push_back(position);
    }
  }
  if (!directory.empty()) RaiseCorrupt(path, "its directory is too long");
}

// Replaces a good record's checksum by the one with the snapshot's key.
void Seal(const RecordSource::Record& record, std::uint64_t key, std::string_view file,
          std::string* bytes) {
  const char* const start = record.instance.data() - record.kind.size();
  const char* const end = record.body.data() + record.body.size();
  const std::string_view covered(start, static_cast<std::size_t>(end - start));
  StoreInteger(ChecksumOfRecord(covered, record.kind.size() + record.instance.size(), key),
               bytes->data() + (end - file.data()));
}

}  // namespace

ConvertedSnapshot ConvertFormat1(std::string_view file, const std::string& path) {
  const Parts parts = CheckFooter(file, path);
  std::vector<StoredKind> kinds;
  std::vector<std::uint32_t> positions;
  ReadDirectory(parts, path, &kinds, &positions);
  ConvertedSnapshot converted;
  converted.bytes.assign(file.substr(0, CheckedSize(parts.recordsEnd)));
  const std::uint64_t key = NewIndexKey();
  SnapshotIndex index(key);
  std::uint32_t number = 0;
  for (const StoredKind& kind : kinds) {
    index.BeginKind(kind.name);
    for (const std::uint32_t end = number + kind.count; number < end; ++number) {
      const std::uint32_t position = positions[number];
      const RecordPlace place{path, position};
      const std::uint64_t next =
          number + 1 == positions.size() ? parts.recordsEnd : positions[number + 1];
      try {
        if (position > parts.recordsEnd || next > parts.recordsEnd) {
          RaiseCorrupt(path, "its directory points outside of the records");
        }
        const auto record =
            SplitRecord(file.substr(position, CheckedSize(next - position)), kind.name, place);
        CheckRecord(record, number, 0, place);
        index.Add(position, record.instance, record.body);
        Seal(record, key, file, &converted.bytes);
      } catch (const ConfigStoreException&) {
        converted.unreadable.push_back(number);
        index.AddUnreadable(position);
      }
    }
  }
  converted.bytes.append(index.Finish(parts.recordsEnd));
  return converted;
}

}  // namespace TavConfigStore
