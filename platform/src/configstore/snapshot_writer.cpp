#include "configstore/snapshot_writer.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "configstore/failure.h"
#include "configstore/snapshot_format.h"
#include "util/bytes.h"
#include "util/checksum.h"

namespace TavConfigStore {

using HostPlatform::AppendInteger;
using HostPlatform::CheckedSize;
using HostPlatform::Checksum;
using HostPlatform::PutBytes;
using HostPlatform::PutInteger;
using namespace SnapshotFormat;

namespace {

constexpr std::size_t kWriteSize = 512 << 10;  // small writes cost more than what they write

[[noreturn]] void RaiseFull(const std::string& path) {
  throw ConfigStoreException(path +
                                 ": the catalogue does not fit the store's 4 GiB; nothing was "
                                 "changed. Remove policies or make their blobs smaller",
                             kNoSpace);
}

}  // namespace

// The table at the start is written last.
SnapshotWriter::SnapshotWriter(const HostPlatform::Io::FileDescriptor& file,
                               const std::string& path)
    : file_(file),
      path_(path),
      position_(kTableSize),
      capacity_(kWriteSize),
      buffer_(std::make_unique_for_overwrite<char[]>(kWriteSize)) {
  std::memset(Room(kTableSize), 0, kTableSize);
}

void SnapshotWriter::BeginKind(std::string_view name) {
  kinds_.push_back({std::string(name), ContinueHash(kEmptyHash, name), {}});
}

void SnapshotWriter::Add(std::string_view instance, std::string_view body) {
  Kind& kind = kinds_.back();
  const std::uint64_t keySize = kind.name.size() + instance.size();
  const std::uint64_t dataSize = kDataHead + body.size() + kChecksumSize;
  // The directory and the hash tables need 20 bytes for each record.
  const std::uint64_t index = 20 * (std::uint64_t{recordCount_} + 1);
  if (position_ + kRecordHead + keySize + dataSize + index > kLargestFile) RaiseFull(path_);

  char* at = Room(CheckedSize(kRecordHead + keySize + dataSize));
  at = PutInteger(static_cast<std::uint32_t>(keySize), at);
  at = PutInteger(static_cast<std::uint32_t>(dataSize), at);
  const char* const covered = at;
  at = PutBytes(kind.name, at);
  at = PutBytes(instance, at);
  *at++ = static_cast<char>(kRecordVersion);
  at = PutInteger(recordCount_, at);
  at = PutBytes(body, at);
  PutInteger(Checksum({covered, static_cast<std::size_t>(at - covered)}, keySize), at);

  const std::uint32_t hash = ContinueHash(kind.hash, instance);
  const auto position = static_cast<std::uint32_t>(position_);
  index_.Add(hash, position);
  kind.positions.push_back(position);
  position_ += kRecordHead + keySize + dataSize;
  ++recordCount_;
}

// Where the next `size` bytes go.
char* SnapshotWriter::Room(std::size_t size) {
  if (size > capacity_ - unwritten_) {
    Flush();
    HostPlatform::Io::StartFlush(file_);
  }
  if (size > capacity_) {
    buffer_ = std::make_unique_for_overwrite<char[]>(size);
    capacity_ = size;
  }
  char* const room = buffer_.get() + unwritten_;
  unwritten_ += size;
  return room;
}

void SnapshotWriter::Flush() {
  HostPlatform::Io::WriteAll(file_, {buffer_.get(), unwritten_}, path_);
  unwritten_ = 0;
}

void SnapshotWriter::Finish() {
  std::string table, tail;
  tail.reserve(20 * std::size_t{recordCount_} + 4096);
  index_.Append(position_, &tail, &table);
  const std::uint64_t directoryStart = position_ + tail.size();
  tail.append(MakeDirectory());
  const std::uint64_t size = position_ + tail.size() + kFooterSize;
  if (size > kLargestFile) RaiseFull(path_);
  AppendInteger(kMagic, &tail);
  AppendInteger(kVersion, &tail);
  AppendInteger(static_cast<std::uint32_t>(kinds_.size()), &tail);
  AppendInteger(position_, &tail);
  AppendInteger(directoryStart, &tail);
  AppendInteger(size, &tail);
  AppendInteger(Checksum(tail, Checksum(table)), &tail);

  Flush();
  HostPlatform::Io::WriteAll(file_, tail, path_);
  if (lseek(file_.get(), 0, SEEK_SET) < 0) {
    HostPlatform::Io::RaiseSystemError(errno, path_, "write the new content");
  }
  HostPlatform::Io::WriteAll(file_, table, path_);
}

std::string SnapshotWriter::MakeDirectory() const {
  std::string directory;
  for (const Kind& kind : kinds_) {
    AppendInteger(static_cast<std::uint32_t>(kind.name.size()), &directory);
    AppendInteger(static_cast<std::uint32_t>(kind.positions.size()), &directory);
    directory.append(kind.name);
    for (const std::uint32_t position : kind.positions)
      AppendInteger(position, &directory);
  }
  return directory;
}

}  // namespace TavConfigStore
