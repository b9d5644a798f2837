// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/snapshot.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "errors/store_failure.h"
#include "os/newest.h"
#include "services/bytes.h"
#include "services/checksum.h"
#include "store/index_page.h"
#include "store/record_codec.h"
#include "store/snapshot_format.h"
#include "store/snapshot_format1.h"

namespace TavConfigStore {

using HostPlatform::CheckedSize;
using HostPlatform::Checksum;
using HostPlatform::LoadInteger;
using HostPlatform::Published;
using HostPlatform::Io::FileDescriptor;
using namespace SnapshotFormat;

namespace {

constexpr std::uint32_t kNone = 0xffffffff;  // more than a file can hold
constexpr std::uint64_t kSmallestOfAnyFormat = 2048 + kFooterSize;

std::uint32_t LoadLength(const char* bytes) {
  return LoadInteger<std::uint32_t>(bytes);
}

void CheckSize(const std::string& path, const struct stat& status) {
  if (!S_ISREG(status.st_mode)) RaiseCorrupt(path, "it is not a plain file");
  if (status.st_size == 0) RaiseCorrupt(path, "it is empty");
  if (static_cast<std::uint64_t>(status.st_size) < kSmallestOfAnyFormat) {
    RaiseCorrupt(path, "it is cut short");
  }
  if (static_cast<std::uint64_t>(status.st_size) > kLargestFile) {
    RaiseCorrupt(path, "it is larger than the format allows");
  }
}

}  // namespace

// Iterates over the records with a given hash in an index.
class Snapshot::Search {
 public:
  Search(const Snapshot& snapshot, const Index& index, std::uint64_t hash)
      : snapshot_(snapshot), index_(index), hash_(hash) {
    Enter(HomePage(hash, index.homePages));
  }

  // The next record's number; kNone after the last.
  std::uint32_t Next() {
    for (;;) {
      const IndexPage page(bytes_);
      if (entry_ < page.count()) {
        return page.hash(entry_) == hash_ ? page.number(entry_++) : kNone;
      }
      if (!page.GoesOn() || page_ + 1 >= index_.pages) return kNone;
      Enter(page_ + 1);
    }
  }

 private:
  void Enter(std::uint32_t page) {
    page_ = page;
    bytes_ = snapshot_.Page(index_.start + page);
    entry_ = IndexPage(bytes_).Find(hash_);
  }

  const Snapshot& snapshot_;
  const Index& index_;
  std::uint64_t hash_;
  std::uint32_t page_ = 0;
  const char* bytes_ = nullptr;
  std::uint32_t entry_ = 0;
};

std::shared_ptr<const Snapshot> Snapshot::Open(const std::string& path) try {
  const FileDescriptor file(AT_FDCWD, path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file) {
    if (errno == ENOENT) return nullptr;
    HostPlatform::Io::RaiseSystemError(errno, path, "open the configuration store");
  }
  const struct stat status = HostPlatform::Io::StatOf(file, path);
  CheckSize(path, status);
  return std::shared_ptr<const Snapshot>(new Snapshot(path, file, status));
} catch (const HostPlatform::Io::Error& error) {
  Raise(error);
}

Snapshot::Snapshot(const std::string& path, const FileDescriptor& file, const struct stat& status)
    : path_(path),
      status_(status),
      bytes_(file, static_cast<std::uint64_t>(status.st_size), path_) {
  ReadFooter();
}

bool Snapshot::IsOf(const struct stat& status) const {
  return HostPlatform::Io::SameFile(status, status_);
}

void Snapshot::ReadFooter() {
  SnapshotBytes::Part last = bytes_.Read(bytes_.size() - kFooterSize, kFooterSize);
  const char* footer = last.bytes().data();
  if (LoadInteger<std::uint64_t>(footer) != kMagic) {
    RaiseCorrupt(path_, "it is cut short, or no configuration store at all");
  }
  const std::uint32_t version = LoadLength(footer + 8);
  if (version == 1) {
    ConvertedSnapshot converted = ConvertFormat1(bytes_.Read(0, bytes_.size()).bytes(), path_);
    bytes_.Replace(std::move(converted.bytes));
    unreadable_ = std::move(converted.unreadable);
    last = bytes_.Read(bytes_.size() - kFooterSize, kFooterSize);
    footer = last.bytes().data();
  } else if (version != kVersion) {
    throw ConfigStoreException(path_ + ": written in format " + std::to_string(version) +
                                   ", which this version of the platform does not know; use the "
                                   "version that wrote it, or a newer one",
                               kUnsupported);
  }
  const std::uint64_t size = bytes_.size();
  key_ = LoadInteger<std::uint64_t>(footer + 16);
  const auto kinds = LoadInteger<std::uint64_t>(footer + 24);
  const auto promised = LoadInteger<std::uint64_t>(footer + 32);
  if (promised != size) {
    RaiseCorrupt(path_,
                 "it has " + std::to_string(size) + " bytes and not " + std::to_string(promised));
  }
  if (size < kSmallestFile || kinds > size - kFooterSize - kRootSize) {
    RaiseCorrupt(path_, "its footer points outside of it");
  }
  const std::uint32_t kindCount = LoadLength(footer + 12);
  // One copy of all that follows, which keeps the kinds' names.
  std::string_view end(bytes_.Keep(bytes_.Read(kinds, size - kinds)), CheckedSize(size - kinds));
  if (LoadInteger<std::uint64_t>(end.data() + end.size() - kChecksumSize) !=
      Checksum(end.substr(0, end.size() - kChecksumSize))) {
    RaiseCorrupt(path_, "the checksum over its footer is wrong");
  }
  end.remove_suffix(kFooterSize);
  const std::size_t root = end.size() - kRootSize;
  ReadRoot(end.substr(root), kinds);
  ReadKinds(end.substr(0, root), kindCount);
}

void Snapshot::ReadRoot(std::string_view root, std::uint64_t kindsStart) {
  const auto take = [&] {
    const std::uint32_t number = LoadLength(root.data());
    root.remove_prefix(4);
    return number;
  };
  recordsEnd_ = LoadInteger<std::uint64_t>(root.data());
  root.remove_prefix(8);
  recordCount_ = take();
  instances_.start = recordCount_ / kPositionsPerPage + (recordCount_ % kPositionsPerPage != 0);
  instances_.homePages = take();
  instances_.pages = take();
  values_.start = instances_.start + instances_.pages;
  values_.homePages = take();
  values_.pages = take();
  const std::uint64_t pages =
      std::uint64_t{instances_.start} + instances_.pages + std::uint64_t{values_.pages};
  if (recordsEnd_ > kindsStart || pages * kPageSize != kindsStart - recordsEnd_ ||
      instances_.homePages == 0 || instances_.homePages > instances_.pages ||
      values_.homePages == 0 || values_.homePages > values_.pages) {
    RaiseCorrupt(path_, "its parts are not where its footer says");
  }
  pageCount_ = static_cast<std::uint32_t>(pages);
  pages_ = Published<const char>(pageCount_);
  records_ = Published<const char>(recordCount_);
}

void Snapshot::ReadKinds(std::string_view kinds, std::uint32_t kindCount) {
  const auto take = [&](std::uint64_t size) {
    if (size > kinds.size()) RaiseCorrupt(path_, "its list of kinds is cut short");
    const std::string_view taken = kinds.substr(0, CheckedSize(size));
    kinds.remove_prefix(CheckedSize(size));
    return taken;
  };
  std::uint64_t first = 0;
  for (std::uint32_t i = 0; i < kindCount; ++i) {
    const std::string_view lengths = take(8);
    Kind kind;
    kind.first = static_cast<std::uint32_t>(first);
    kind.count = LoadLength(lengths.data() + 4);
    kind.name = take(LoadLength(lengths.data()));
    kind.hash = HashOfKind(kind.name, key_);
    kind.parts = DecodeKind(kind.name);
    if (!kind.parts.ok) RaiseCorrupt(path_, "its list of kinds names no kind of objects");
    if (kind.count == 0) RaiseCorrupt(path_, "its list of kinds names a kind without records");
    first += kind.count;
    if (first > recordCount_) break;
    kinds_.push_back(kind);
  }
  if (first != recordCount_ || !kinds.empty()) {
    RaiseCorrupt(path_, "its list of kinds does not fit its records");
  }
  IndexKinds();
}

// Refuses repeated kinds: the next commit would write the first one's records twice.
void Snapshot::IndexKinds() {
  for (std::uint32_t i = 0; i < kinds_.size(); ++i)
    kindsByHash_.emplace_back(kinds_[i].hash, i);
  std::sort(kindsByHash_.begin(), kindsByHash_.end());
  for (std::size_t i = 1; i < kindsByHash_.size(); ++i) {
    // Only a forged file has colliding names of kinds.
    if (kindsByHash_[i - 1].first == kindsByHash_[i].first) {
      RaiseCorrupt(path_, "its list of kinds names a kind twice");
    }
  }
}

const Snapshot::Kind* Snapshot::FindKind(std::string_view name) const {
  const std::pair<std::uint64_t, std::uint32_t> wanted(HashOfKind(name, key_), 0);
  const auto found = std::lower_bound(kindsByHash_.begin(), kindsByHash_.end(), wanted);
  if (found == kindsByHash_.end() || kinds_[found->second].name != name) return nullptr;
  return &kinds_[found->second];
}

const Snapshot::Kind* Snapshot::FindKind(const ConfigStoreObjectId& id) const {
  constexpr std::size_t kFew = 8;
  if (kinds_.size() > kFew) return FindKind(EncodeKind(id));
  for (const Kind& kind : kinds_) {
    if (kind.parts.key == id.key && kind.parts.group == id.group &&
        kind.parts.component == id.component) {
      return &kind;
    }
  }
  return nullptr;
}

const char* Snapshot::Page(std::uint32_t number) const {
  if (const char* const known = pages_.Get(number)) return known;
  const std::uint64_t position = recordsEnd_ + std::uint64_t{kPageSize} * number;
  SnapshotBytes::Part part = bytes_.Read(position, kPageSize);
  const char* const page = part.bytes().data();
  if (LoadInteger<std::uint64_t>(page + kPageContent) != ChecksumOfPage(page, key_, number)) {
    RaiseCorrupt(path_, "the checksum of the page of its index at byte " +
                            std::to_string(position) + " is wrong");
  }
  pages_.Set(number, bytes_.Keep(std::move(part)));
  return page;
}

void Snapshot::CheckPages() const {
  for (std::uint32_t number = 0; number < pageCount_; ++number)
    Page(number);
}

std::uint32_t Snapshot::Position(std::uint32_t number) const {
  return LoadLength(Page(number / kPositionsPerPage) +
                    std::size_t{4} * (number % kPositionsPerPage));
}

// `number` must exist.
const Snapshot::Kind& Snapshot::KindOf(std::uint32_t number) const {
  const auto after =
      std::upper_bound(kinds_.begin(), kinds_.end(), number,
                       [](std::uint32_t n, const Kind& kind) { return n < kind.first; });
  return *std::prev(after);
}

// A record ends at the start of the next. So records cannot overlap, and the cost of reading all is
// bounded by the size of the file, even of a forged one.
std::uint32_t Snapshot::EndOf(std::uint32_t number) const {
  const std::uint64_t end = number + 1 == recordCount_ ? recordsEnd_ : Position(number + 1);
  if (Position(number) >= end || end > recordsEnd_) {
    RaiseCorrupt(path_, "its records are not in the order of their numbers");
  }
  return static_cast<std::uint32_t>(end);
}

SnapshotBytes::Part Snapshot::ReadRecord(std::uint32_t number) const {
  const std::uint32_t position = Position(number);
  return bytes_.Read(position, EndOf(number) - position);
}

RecordSource::Record Snapshot::Split(std::string_view bytes, std::uint32_t number,
                                     const Kind& kind) const {
  return SplitRecord(bytes, kind.name, {path_, Position(number)});
}

// The verified record.
const char* Snapshot::Load(std::uint32_t number) const {
  if (const char* const known = records_.Get(number)) return known;
  return Accept(ReadRecord(number), number, KindOf(number));
}

const char* Snapshot::Accept(SnapshotBytes::Part part, std::uint32_t number,
                             const Kind& kind) const {
  CheckRecord(Split(part.bytes(), number, kind), number, key_, {path_, Position(number)});
  const char* const start = bytes_.Keep(std::move(part));
  records_.Set(number, start);
  return start;
}

void Snapshot::LoadAll(const Kind& kind) const {
  constexpr std::uint32_t kMappedAtOnce = 8 << 20;  // bounds what is in memory twice
  const std::uint32_t end = kind.first + kind.count;
  std::uint32_t mappedFrom = kind.first;
  bool any = false;
  for (std::uint32_t number = kind.first; number < end;) {
    if (records_.Get(number) != nullptr) {
      ++number;
      continue;
    }
    try {
      number = LoadRun(number, end, kind);
      any = true;
      if (number < end && Position(number) - Position(mappedFrom) >= kMappedAtOnce) {
        bytes_.ReleasePages();
        mappedFrom = number;
      }
    } catch (const ConfigStoreException& failure) {
      if (failure.code() != kCorrupt) throw;
      ++number;  // reported when it is read
    }
  }
  if (any) bytes_.ReleasePages();
}

// Reads adjacent unread records from `first` on in one copy. Returns the number after the last.
std::uint32_t Snapshot::LoadRun(std::uint32_t first, std::uint32_t end, const Kind& kind) const {
  constexpr std::uint32_t kRunSize = 256 << 10;
  const std::uint32_t start = Position(first);
  std::uint32_t next = first + 1, stop = EndOf(first);
  for (; next < end && records_.Get(next) == nullptr && EndOf(next) - start <= kRunSize; ++next)
    stop = EndOf(next);
  SnapshotBytes::Part part = bytes_.Read(start, stop - start);
  const std::string_view run = part.bytes();
  bytes_.Keep(std::move(part));
  for (std::uint32_t number = first; number < next; ++number) {
    const std::uint32_t position = Position(number);
    const std::string_view bytes = run.substr(position - start, EndOf(number) - position);
    try {
      CheckRecord(Split(bytes, number, kind), number, key_, {path_, position});
      records_.Set(number, bytes.data());
    } catch (const ConfigStoreException&) {  // reported when it is read
    }
  }
  return next;
}

RecordSource::Record Snapshot::Read(std::uint32_t number) const {
  const char* const record = Load(number);
  const std::string_view kind = KindOf(number).name;
  return {kind, KeyOfRecord(record).substr(kind.size()), BodyOfRecord(record)};
}

// A damaged record with an intact key is found, so that it can be replaced. A record with the same
// hash and another key is a rare collision if its checksum is right, otherwise damaged.
bool Snapshot::HasInstance(std::uint32_t number, const Kind& kind,
                           std::string_view instance) const {
  if (const char* const known = records_.Get(number)) {
    return KeyOfRecord(known).substr(kind.name.size()) == instance;
  }
  SnapshotBytes::Part part = ReadRecord(number);
  const bool isSame = Split(part.bytes(), number, kind).instance == instance;
  try {
    Accept(std::move(part), number, kind);
  } catch (const ConfigStoreException&) {
    if (!isSame) throw;
  }
  return isSame;
}

std::optional<std::uint32_t> Snapshot::Find(const Kind& kind, std::string_view instance) const {
  Search search(*this, instances_, HashOfRecord(instance, kind.hash));
  for (std::uint32_t number; (number = search.Next()) != kNone;) {
    if (kind.Has(number) && HasInstance(number, kind, instance)) return number;
  }
  RaiseIfUnreadable(kind, kNone);
  return std::nullopt;
}

std::optional<std::uint32_t> Snapshot::FindFirst(const Kind& kind, std::string_view name,
                                                 std::string_view value) const {
  const std::uint64_t nameHash = HashOfName(name, kind.hash);
  // If some record has an integer under that name, a walk gives the answer of a scan.
  if (Search(*this, values_, nameHash).Next() != kNone) return Walk(kind, name, value);
  Search search(*this, values_, HashOfValue(value, nameHash));
  bool isOdd = false;
  for (std::uint32_t number; (number = search.Next()) != kNone;) {
    if (kind.Has(number)) {
      RaiseIfUnreadable(kind, number);
      const ValueRef found = FindValue(Body(number), name);
      if (found.type == ValueRef::Type::kString && found.text == value) return number;
    }
    isOdd = true;  // a hash collision, or a record with two values of that name
  }
  if (isOdd) return Walk(kind, name, value);
  RaiseIfUnreadable(kind, kNone);
  return std::nullopt;
}

std::optional<std::uint32_t> Snapshot::Walk(const Kind& kind, std::string_view name,
                                            std::string_view value) const {
  for (std::uint32_t number = kind.first; kind.Has(number); ++number) {
    const ValueRef found = FindValue(Body(number), name);
    if (found.type == ValueRef::Type::kInteger) RaiseWrongType(name, "a string");
    if (found.type == ValueRef::Type::kString && found.text == value) return number;
  }
  return std::nullopt;
}

// Raises if an unreadable record of the kind precedes `before`: it may hold the answer.
void Snapshot::RaiseIfUnreadable(const Kind& kind, std::uint32_t before) const {
  const auto first = std::lower_bound(unreadable_.begin(), unreadable_.end(), kind.first);
  if (first != unreadable_.end() && kind.Has(*first) && *first < before) Load(*first);
}

}  // namespace TavConfigStore
