// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "damage/forgery.h"

#include <string_view>
#include <utility>

#include "services/bytes.h"
#include "services/checksum.h"
#include "store/index_page.h"
#include "store/snapshot_format.h"
#include "store/snapshot_record.h"

namespace PlatformTest {

using HostPlatform::Checksum;
using HostPlatform::LoadInteger;
using namespace TavConfigStore::SnapshotFormat;  // NOLINT(google-build-using-namespace): constants

Forgery::Forgery(std::string snapshot)
    : bytes_(std::move(snapshot)),
      footer_(bytes_.size() - kFooterSize),
      root_(footer_ - kRootSize),
      kinds_(LoadInteger<std::uint64_t>(bytes_.data() + footer_ + 24)),
      recordsEnd_(LoadInteger<std::uint64_t>(bytes_.data() + root_)) {
  const std::uint32_t count = Get32(root_ + 8);
  for (std::uint32_t i = 0; i < count; ++i) {
    Record record{};
    record.position = Get32(page(i / kPositionsPerPage) + std::size_t{4} * (i % kPositionsPerPage));
    record.key = record.position + kRecordHead;
    record.data = record.key + Get32(record.position);
    record.body = record.data + kDataHead;
    record.checksum = record.data + Get32(record.position + 4) - kChecksumSize;
    records_.push_back(record);
  }
}

std::uint64_t Forgery::Get64(std::size_t place) const {
  return LoadInteger<std::uint64_t>(bytes_.data() + place);
}

std::uint32_t Forgery::Get32(std::size_t place) const {
  return LoadInteger<std::uint32_t>(bytes_.data() + place);
}

void Forgery::Set32(std::size_t place, std::uint32_t value) {
  for (std::size_t i = 0; i < sizeof value; ++i)
    bytes_[place + i] = static_cast<char>(value >> (8 * i));
}

void Forgery::Set64(std::size_t place, std::uint64_t value) {
  Set32(place, static_cast<std::uint32_t>(value));
  Set32(place + 4, static_cast<std::uint32_t>(value >> 32));
}

void Forgery::SetByte(std::size_t place, unsigned char value) {
  bytes_[place] = static_cast<char>(value);
}

const std::string& Forgery::Sealed() {
  const std::string_view all = bytes_;
  const std::uint64_t key = Get64(footer_ + 16);
  for (const Record& record : records_) {
    const std::string_view covered = all.substr(record.key, record.checksum - record.key);
    Set64(record.checksum,
          TavConfigStore::ChecksumOfRecord(covered, record.data - record.key, key));
  }
  for (std::uint32_t i = 0; i < pageCount(); ++i)
    Set64(page(i) + kPageContent, TavConfigStore::ChecksumOfPage(&bytes_[page(i)], key, i));
  const std::size_t end = bytes_.size() - kChecksumSize;
  Set64(end, Checksum(all.substr(kinds_, end - kinds_)));
  return bytes_;
}

}  // namespace PlatformTest
