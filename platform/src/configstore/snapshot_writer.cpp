#include "configstore/snapshot_writer.h"

#include <unistd.h>

#include <cerrno>
#include <new>

#include "configstore/failure.h"
#include "configstore/snapshot_format.h"
#include "util/bytes.h"
#include "util/checksum.h"

namespace TavConfigStore {

using HostPlatform::AppendInteger;
using HostPlatform::Checksum;
using namespace SnapshotFormat;

namespace {

[[noreturn]] void RaiseFull(const std::string& path) {
  throw ConfigStoreException(path +
                                 ": the catalogue does not fit the store's 4 GiB; nothing was "
                                 "changed. Remove policies or make their blobs smaller",
                             kNoSpace);
}

}  // namespace

SnapshotWriter::SnapshotWriter(const HostPlatform::Io::FileDescriptor& file,
                               const std::string& path)
    : file_(file), path_(path), position_(kTableSize) {
  if (cdb_make_start(&maker_, file_.get()) != 0) RaiseWriteError();
}

SnapshotWriter::~SnapshotWriter() {
  // The only way to release the maker's memory; the file is thrown away by its owner.
  if (!finished_) cdb_make_finish(&maker_);
}

void SnapshotWriter::BeginKind(std::string_view name) {
  kinds_.push_back({std::string(name), {}});
}

void SnapshotWriter::Add(std::string_view instance, std::string_view body) {
  Kind& kind = kinds_.back();
  const std::uint64_t keySize = kind.name.size() + instance.size();
  const std::uint64_t dataSize = kDataHead + body.size() + kChecksumSize;
  // The directory and the hash tables need 20 bytes for each record.
  const std::uint64_t index = 20 * (std::uint64_t{recordCount_} + 1);
  if (position_ + kRecordHead + keySize + dataSize + index > kLargestFile) RaiseFull(path_);

  record_.clear();
  record_.reserve(keySize + dataSize);
  record_.append(kind.name).append(instance);
  record_.push_back(static_cast<char>(kRecordVersion));
  AppendInteger(recordCount_, &record_);
  record_.append(body);
  AppendInteger(Checksum(record_, keySize), &record_);

  if (cdb_make_add(&maker_, record_.data(), static_cast<unsigned>(keySize),
                   record_.data() + keySize, static_cast<unsigned>(dataSize)) != 0) {
    RaiseWriteError();
  }
  kind.positions.push_back(static_cast<std::uint32_t>(position_));
  position_ += kRecordHead + keySize + dataSize;
  ++recordCount_;
}

void SnapshotWriter::Finish() {
  finished_ = true;  // also when it fails: its memory is gone
  if (cdb_make_finish(&maker_) != 0) RaiseWriteError();
  // Two slots of 8 bytes for each record.
  const std::uint64_t directoryStart = position_ + 16 * std::uint64_t{recordCount_};
  if (lseek(file_.get(), static_cast<off_t>(directoryStart), SEEK_SET) < 0) RaiseWriteError();
  const std::string directory = MakeDirectory();
  const std::uint64_t size = directoryStart + directory.size() + kFooterSize;
  if (size > kLargestFile) RaiseFull(path_);

  const std::string table = HostPlatform::Io::ReadAt(file_, kTableSize, 0, path_);
  std::string tail = HostPlatform::Io::ReadAt(file_, directoryStart - position_,
                                              static_cast<off_t>(position_), path_);
  const std::size_t unwritten = tail.size();
  tail.append(directory);
  AppendInteger(kMagic, &tail);
  AppendInteger(kVersion, &tail);
  AppendInteger(static_cast<std::uint32_t>(kinds_.size()), &tail);
  AppendInteger(position_, &tail);
  AppendInteger(directoryStart, &tail);
  AppendInteger(size, &tail);
  AppendInteger(Checksum(tail, Checksum(table)), &tail);
  HostPlatform::Io::WriteAll(file_, std::string_view(tail).substr(unwritten), path_);
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

void SnapshotWriter::RaiseWriteError() const {
  const int error = errno;
  if (error == ENOMEM) throw std::bad_alloc();
  HostPlatform::Io::RaiseSystemError(error, path_, "write the new content");
}

}  // namespace TavConfigStore
