#include "configstore/snapshot.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <tuple>

#include "configstore/failure.h"
#include "configstore/record_codec.h"
#include "configstore/snapshot_format.h"
#include "io/newest.h"
#include "util/bytes.h"
#include "util/checksum.h"

namespace TavConfigStore {

using HostPlatform::CheckedSize;
using HostPlatform::Checksum;
using HostPlatform::LoadInteger;
using HostPlatform::Io::FileDescriptor;
using namespace SnapshotFormat;

namespace {

std::uint32_t LoadLength(const char* bytes) {
  return LoadInteger<std::uint32_t>(bytes);
}

void CheckSize(const std::string& path, const struct stat& status) {
  if (!S_ISREG(status.st_mode)) RaiseCorrupt(path, "it is not a plain file");
  if (status.st_size == 0) RaiseCorrupt(path, "it is empty");
  if (static_cast<std::uint64_t>(status.st_size) < std::uint64_t{kTableSize} + kFooterSize) {
    RaiseCorrupt(path, "it is cut short");
  }
  if (static_cast<std::uint64_t>(status.st_size) > kLargestFile) {
    RaiseCorrupt(path, "it is larger than the format allows");
  }
}

}  // namespace

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
      mapping_(file, static_cast<std::size_t>(status.st_size), path),
      file_(mapping_.bytes()) {
  CheckFooter();
}

bool Snapshot::IsOf(const struct stat& status) const {
  return HostPlatform::Io::SameFile(status, status_);
}

void Snapshot::CheckFooter() {
  const std::uint64_t size = file_.size();
  const std::string_view footer = Bytes(size - kFooterSize, kFooterSize);
  const char* const at = footer.data();
  if (LoadInteger<std::uint64_t>(at) != kMagic) {
    RaiseCorrupt(path_, "it is cut short, or no configuration store at all");
  }
  if (LoadLength(at + 8) != kVersion) {
    throw ConfigStoreException(path_ + ": written in format " + std::to_string(LoadLength(at + 8)) +
                                   ", which this version of the platform does not know; use the "
                                   "version that wrote it, or a newer one",
                               kUnsupported);
  }
  const auto tables = LoadInteger<std::uint64_t>(at + 16);
  const auto directory = LoadInteger<std::uint64_t>(at + 24);
  const auto promised = LoadInteger<std::uint64_t>(at + 32);
  if (promised != size) {
    RaiseCorrupt(path_,
                 "it has " + std::to_string(size) + " bytes and not " + std::to_string(promised));
  }
  if (tables < kTableSize || directory < tables || directory > size - kFooterSize) {
    RaiseCorrupt(path_, "its footer points outside of it");
  }
  const std::uint64_t checksum =
      Checksum(Bytes(tables, size - kChecksumSize - tables), Checksum(Bytes(0, kTableSize)));
  if (LoadInteger<std::uint64_t>(at + 40) != checksum) {
    RaiseCorrupt(path_, "the checksum over its index is wrong");
  }
  recordsEnd_ = static_cast<std::uint32_t>(tables);
  ReadDirectory(Bytes(directory, size - kFooterSize - directory), LoadLength(at + 12));
}

void Snapshot::ReadDirectory(std::string_view directory, std::uint32_t kindCount) {
  const auto take = [&](std::uint64_t size) {
    if (size > directory.size()) RaiseCorrupt(path_, "its directory is cut short");
    const std::string_view taken = directory.substr(0, CheckedSize(size));
    directory.remove_prefix(CheckedSize(size));
    return taken;
  };
  for (std::uint32_t i = 0; i < kindCount; ++i) {
    const std::string_view lengths = take(8);
    Kind kind;
    kind.first = recordCount_;
    kind.count = LoadLength(lengths.data() + 4);
    kind.name = take(LoadLength(lengths.data()));
    kind.hash = ContinueHash(kEmptyHash, kind.name);
    kind.parts = DecodeKind(kind.name);
    if (!kind.parts.ok) RaiseCorrupt(path_, "its directory names no kind of objects");
    kind.positions = take(std::uint64_t{4} * kind.count).data();
    if (kind.count == 0) RaiseCorrupt(path_, "its directory names a kind without records");
    recordCount_ += kind.count;  // cannot overflow: each counted record took 4 bytes of the file
    kinds_.push_back(kind);
  }
  if (!directory.empty()) RaiseCorrupt(path_, "its directory is too long");
  CheckKinds();
  CheckOrder();
  bodies_ = std::make_unique<std::atomic<std::uint64_t>[]>(recordCount_);
}

// A kind that stands twice would be written twice at the next commit, with the first one's records.
void Snapshot::CheckKinds() const {
  std::vector<std::tuple<std::string_view, std::string_view, std::string_view>> names;
  names.reserve(kinds_.size());
  for (const Kind& kind : kinds_)
    names.emplace_back(kind.parts.key, kind.parts.group, kind.parts.component);
  std::sort(names.begin(), names.end());
  if (std::adjacent_find(names.begin(), names.end()) != names.end()) {
    RaiseCorrupt(path_, "its directory names a kind twice");
  }
}

// Records stand in the order of their numbers. With that none overlaps another, and what it costs
// to read all of them is bounded by the size of the file, whoever made it.
void Snapshot::CheckOrder() const {
  std::uint32_t before = 0;
  for (const Kind& kind : kinds_) {
    for (std::uint32_t i = 0; i < kind.count; ++i) {
      const std::uint32_t position = LoadLength(kind.positions + 4 * std::size_t{i});
      if (position <= before)
        RaiseCorrupt(path_, "its directory is not in the order of the records");
      before = position;
    }
  }
}

std::string_view Snapshot::Bytes(std::uint64_t position, std::uint64_t size) const {
  if (size > file_.size() || position > file_.size() - size) {
    RaiseCorrupt(path_, "it points outside of itself");
  }
  return std::string_view(file_.data() + position, CheckedSize(size));
}

const Snapshot::Kind* Snapshot::FindKind(std::string_view name) const {
  for (const Kind& kind : kinds_) {
    if (kind.name == name) return &kind;
  }
  return nullptr;
}

const Snapshot::Kind* Snapshot::FindKind(const ConfigStoreObjectId& id) const {
  for (const Kind& kind : kinds_) {
    if (kind.parts.key == id.key && kind.parts.group == id.group &&
        kind.parts.component == id.component) {
      return &kind;
    }
  }
  return nullptr;
}

// There is such a number.
Snapshot::Location Snapshot::Locate(std::uint32_t number) const {
  const auto after =
      std::upper_bound(kinds_.begin(), kinds_.end(), number,
                       [](std::uint32_t n, const Kind& kind) { return n < kind.first; });
  const Kind& kind = *std::prev(after);
  return {&kind, LoadLength(kind.positions + 4 * std::size_t{number - kind.first})};
}

std::uint32_t Snapshot::EndOf(std::uint32_t number) const {
  return number + 1 == recordCount_ ? recordsEnd_ : Locate(number + 1).position;
}

// The number of the record that starts there; recordCount_ when none does.
std::uint32_t Snapshot::NumberOf(std::uint32_t position) const {
  std::uint32_t low = 0;
  for (std::uint32_t high = recordCount_; low < high;) {
    const std::uint32_t middle = low + (high - low) / 2;
    if (Locate(middle).position < position) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low < recordCount_ && Locate(low).position == position ? low : recordCount_;
}

RecordSource::Record Snapshot::Read(std::uint32_t number) const {
  const Location location = Locate(number);
  const Record record = ReadAt(location, EndOf(number));
  if (bodies_[number].load(std::memory_order_relaxed) == 0) {
    Verify(number, location, record);
    const auto start = static_cast<std::uint64_t>(record.body.data() - file_.data());
    bodies_[number].store(start << 32 | record.body.size(), std::memory_order_relaxed);
  }
  return record;
}

std::string_view Snapshot::Body(std::uint32_t number) const {
  const std::string_view body = CheckedBody(number);
  return body.data() != nullptr ? body : Read(number).body;
}

// Only lengths are checked here; what they enclose is only good once Verify() has said so.
RecordSource::Record Snapshot::ReadAt(const Location& location, std::uint32_t end) const {
  const std::string_view head = Bytes(location.position, kRecordHead);
  const std::uint64_t keySize = LoadLength(head.data());
  const std::uint64_t dataSize = LoadLength(head.data() + 4);
  const std::uint64_t start = std::uint64_t{location.position} + kRecordHead;
  const std::string_view kind = location.kind->name;
  if (start + keySize + dataSize > end || keySize < kind.size() ||
      dataSize < kDataHead + kChecksumSize) {
    RaiseCorrupt(path_, "the lengths of the record at byte " + std::to_string(location.position) +
                            " are wrong");
  }
  const std::string_view bytes = Bytes(start, keySize + dataSize);
  Record record;
  record.kind = kind;
  record.instance = bytes.substr(kind.size(), CheckedSize(keySize) - kind.size());
  record.body = bytes.substr(CheckedSize(keySize) + kDataHead,
                             CheckedSize(dataSize) - kDataHead - kChecksumSize);
  return record;
}

void Snapshot::Verify(std::uint32_t number, const Location& location, const Record& record) const {
  const char* const start = record.instance.data() - record.kind.size();
  const char* const data = record.instance.data() + record.instance.size();
  const char* const tail = record.body.data() + record.body.size();
  const auto keySize = static_cast<std::uint64_t>(data - start);
  const std::string_view covered(start, static_cast<std::size_t>(tail - start));
  const bool good = LoadInteger<std::uint64_t>(tail) == Checksum(covered, keySize) &&
                    static_cast<unsigned char>(data[0]) == kRecordVersion &&
                    LoadLength(data + 1) == number && covered.starts_with(record.kind);
  if (!good) {
    RaiseCorrupt(path_, "the checksum of the record at byte " + std::to_string(location.position) +
                            " is wrong");
  }
  CheckBody(record.body);
}

KeyIndexSearch Snapshot::Search(std::uint32_t hash) const {
  const char* const table = file_.data() + kIndexSlotSize * std::size_t{hash % kIndexTables};
  const std::uint64_t slots = LoadLength(table + 4);
  return KeyIndexSearch(Bytes(LoadLength(table), kIndexSlotSize * slots), hash);
}

std::optional<std::uint32_t> Snapshot::Find(const Kind& kind, std::string_view instance) const {
  const std::uint32_t hash = ContinueHash(kind.hash, instance);
  KeyIndexSearch search = Search(hash);
  while (const std::uint32_t position = search.Next()) {
    const auto number = NumberAt(position, kind, instance);
    if (number) return number;
  }
  RaiseIfDamaged(hash);
  return std::nullopt;
}

// The number of the record at this position when its key is the one given.
std::optional<std::uint32_t> Snapshot::NumberAt(std::uint32_t position, const Kind& kind,
                                                std::string_view instance) const {
  const std::size_t prefix = kind.name.size();
  const std::size_t keySize = prefix + instance.size();
  const char* const head = Bytes(position, kRecordHead).data();
  if (LoadLength(head) != keySize || LoadLength(head + 4) < kDataHead) return std::nullopt;
  const char* const key = Bytes(std::uint64_t{position} + kRecordHead, keySize + kDataHead).data();
  if (std::string_view(key, prefix) != kind.name ||
      std::string_view(key + prefix, instance.size()) != instance) {
    return std::nullopt;
  }
  const std::uint32_t number = LoadLength(key + keySize + 1);
  if (number >= recordCount_ || Locate(number).position != position) {
    RaiseCorrupt(path_,
                 "the record at byte " + std::to_string(position) + " has the number of another");
  }
  return number;
}

// The hash leads to every record that may have the key. One with that hash and another key is
// either of a rare collision, and then its checksum is right, or a damaged one.
void Snapshot::RaiseIfDamaged(std::uint32_t hash) const {
  KeyIndexSearch search = Search(hash);
  while (const std::uint32_t position = search.Next()) {
    const std::uint32_t number = NumberOf(position);
    if (number < recordCount_) Read(number);
  }
}

}  // namespace TavConfigStore
