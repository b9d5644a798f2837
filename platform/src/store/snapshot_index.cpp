// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/snapshot_index.h"

#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "services/bytes.h"
#include "store/index_page.h"
#include "store/record_codec.h"
#include "store/snapshot_format.h"

namespace TavConfigStore {

using HostPlatform::AppendInteger;
using HostPlatform::Checksum;
using HostPlatform::LoadInteger;
using HostPlatform::StoreInteger;
using namespace SnapshotFormat;

namespace {

// Decodes a value in a verified body.
StoredValue ValueAt(const char* start) {
  const auto nameLength = LoadInteger<std::uint32_t>(start + 1);
  const auto dataLength = LoadInteger<std::uint32_t>(start + 5);
  const char* const name = start + kValueHead;
  return {{name, nameLength}, start[0], {name + nameLength, dataLength}};
}

}  // namespace

// Falls back to time and process number if getrandom() fails.
std::uint64_t NewIndexKey() {
  std::uint64_t key[3] = {};
  if (getrandom(key, sizeof key[0], GRND_NONBLOCK) != sizeof key[0]) {
    key[0] =
        static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
    key[1] = static_cast<std::uint64_t>(getpid());
    key[2] = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&key));
    return Checksum({reinterpret_cast<const char*>(key), sizeof key});
  }
  return key[0];
}

void SnapshotIndex::BeginKind(std::string_view name) {
  kinds_.push_back({std::string(name), HashOfKind(name, key_), 0});
}

void SnapshotIndex::Add(std::uint32_t position, std::string_view instance, std::string_view body) {
  const std::uint32_t number = recordCount();
  const auto kindNumber = static_cast<std::uint32_t>(kinds_.size() - 1);
  const std::uint64_t kind = kinds_.back().hash;
  records_.push_back({HashOfRecord(instance, kind), number, kindNumber, nullptr});
  BodyReader reader(body);
  for (StoredValue value; reader.NextValue(&value);) {
    std::uint64_t hash = HashOfName(value.name, kind);
    if (value.IsString()) hash = HashOfValue(value.data, hash);
    values_.push_back({hash, number, kindNumber, value.name.data() - kValueHead});
  }
  AddUnreadable(position);
}

std::string SnapshotIndex::Finish(std::uint64_t recordsEnd) {
  std::string bytes;
  Sort(&records_);
  Sort(&values_);
  DropRepeatedValues();
  bytes.reserve(4 * positions_.size() + 18 * (records_.size() + values_.size()) +
                std::size_t{6} * kPageSize);
  AppendPositions(&bytes);
  const Size keys = AppendIndex(records_, &bytes);
  const Size values = AppendIndex(values_, &bytes);
  const std::size_t kinds = bytes.size();
  for (const Kind& kind : kinds_) {
    AppendInteger(static_cast<std::uint32_t>(kind.name.size()), &bytes);
    AppendInteger(kind.count, &bytes);
    bytes.append(kind.name);
  }
  AppendInteger(recordsEnd, &bytes);
  AppendInteger(recordCount(), &bytes);
  for (const Size& size : {keys, values}) {
    AppendInteger(size.homePages, &bytes);
    AppendInteger(size.pages, &bytes);
  }
  AppendInteger(std::uint32_t{0}, &bytes);
  AppendInteger(kMagic, &bytes);
  AppendInteger(kVersion, &bytes);
  AppendInteger(static_cast<std::uint32_t>(kinds_.size()), &bytes);
  AppendInteger(key_, &bytes);
  AppendInteger(recordsEnd + kinds, &bytes);
  AppendInteger(recordsEnd + bytes.size() + 8 + kChecksumSize, &bytes);
  AppendInteger(Checksum(std::string_view(bytes).substr(kinds)), &bytes);
  return bytes;
}

void SnapshotIndex::Sort(std::vector<Entry>* entries) {
  std::sort(entries->begin(), entries->end(), [](const Entry& a, const Entry& b) {
    return a.hash != b.hash ? a.hash < b.hash : a.number < b.number;
  });
}

// Integer values are indexed by their name only.
bool SnapshotIndex::IsSame(const Entry& a, const Entry& b) {
  const StoredValue first = ValueAt(a.value), second = ValueAt(b.value);
  return a.kind == b.kind && first.IsString() == second.IsString() && first.name == second.name &&
         (!first.IsString() || first.data == second.data);
}

// Keeps the first record of each value. Hash collisions are rare, so a value is compared with few.
void SnapshotIndex::DropRepeatedValues() {
  std::size_t kept = 0, run = 0;  // `run`: first entry with the present hash
  for (const Entry& entry : values_) {
    if (kept == 0 || values_[run].hash != entry.hash) run = kept;
    const auto end = values_.begin() + static_cast<std::ptrdiff_t>(kept);
    if (std::none_of(values_.begin() + static_cast<std::ptrdiff_t>(run), end,
                     [&](const Entry& before) { return IsSame(before, entry); })) {
      values_[kept++] = entry;
    }
  }
  values_.resize(kept);
}

char* SnapshotIndex::AppendPage(std::string* bytes) {
  bytes->append(kPageSize, '\0');
  return bytes->data() + bytes->size() - kPageSize;
}

void SnapshotIndex::SealPage(char* page) {
  StoreInteger(ChecksumOfPage(page, key_, pageCount_++), page + kPageContent);
}

void SnapshotIndex::AppendPositions(std::string* bytes) {
  for (std::size_t next = 0; next < positions_.size();) {
    char* const page = AppendPage(bytes);
    for (std::size_t i = 0; i < kPositionsPerPage && next < positions_.size(); ++i, ++next)
      StoreInteger(positions_[next], page + 4 * i);
    SealPage(page);
  }
}

// A full home page overflows to the next page, the last one to additional pages.
SnapshotIndex::Size SnapshotIndex::AppendIndex(const std::vector<Entry>& entries,
                                               std::string* bytes) {
  Size size;
  size.homePages = static_cast<std::uint32_t>(
      std::max<std::size_t>(1, (entries.size() + kUsualEntriesPerPage - 1) / kUsualEntriesPerPage));
  std::size_t next = 0;
  const auto isDue = [&] {
    return next < entries.size() && HomePage(entries[next].hash, size.homePages) <= size.pages;
  };
  for (; size.pages < size.homePages || next < entries.size(); ++size.pages) {
    char* const page = AppendPage(bytes);
    std::uint32_t count = 0;
    for (; count < kEntriesPerPage && isDue(); ++count, ++next) {
      StoreInteger(entries[next].hash, page + kHashesInPage + std::size_t{8} * count);
      StoreInteger(entries[next].number, page + kNumbersInPage + std::size_t{4} * count);
    }
    StoreInteger(count, page);
    StoreInteger(std::uint32_t{isDue()}, page + 4);
    SealPage(page);
  }
  return size;
}

}  // namespace TavConfigStore
