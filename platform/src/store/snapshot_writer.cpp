// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/snapshot_writer.h"

#include "errors/store_failure.h"
#include "services/bytes.h"
#include "store/snapshot_format.h"
#include "store/snapshot_record.h"

namespace TavConfigStore {

using HostPlatform::CheckedSize;
using HostPlatform::PutBytes;
using HostPlatform::PutInteger;
using namespace SnapshotFormat;

namespace {

constexpr std::size_t kWriteSize = 512 << 10;  // large, to save system calls

[[noreturn]] void RaiseFull(const std::string& path) {
  throw ConfigStoreException(path +
                                 ": the catalogue does not fit the store's 4 GiB; nothing was "
                                 "changed. Remove policies or make their blobs smaller",
                             kNoSpace);
}

}  // namespace

SnapshotWriter::SnapshotWriter(const HostPlatform::Io::FileDescriptor& file,
                               const std::string& path, std::uint64_t key)
    : file_(file),
      path_(path),
      key_(key),
      index_(key),
      capacity_(kWriteSize),
      buffer_(std::make_unique_for_overwrite<char[]>(kWriteSize)) {}

void SnapshotWriter::BeginKind(std::string_view name) {
  kind_ = name;
  index_.BeginKind(name);
}

void SnapshotWriter::Add(std::string_view instance, std::string_view body) {
  const std::uint64_t keySize = kind_.size() + instance.size();
  const std::uint64_t dataSize = kDataHead + body.size() + kChecksumSize;
  if (position_ + kRecordHead + keySize + dataSize > kLargestFile) RaiseFull(path_);

  char* at = Room(CheckedSize(kRecordHead + keySize + dataSize));
  at = PutInteger(static_cast<std::uint32_t>(keySize), at);
  at = PutInteger(static_cast<std::uint32_t>(dataSize), at);
  const char* const covered = at;
  at = PutBytes(kind_, at);
  at = PutBytes(instance, at);
  *at++ = static_cast<char>(kRecordVersion);
  at = PutInteger(index_.recordCount(), at);
  at = PutBytes(body, at);
  PutInteger(ChecksumOfRecord({covered, static_cast<std::size_t>(at - covered)}, keySize, key_),
             at);
  index_.Add(static_cast<std::uint32_t>(position_), instance, body);
  position_ += kRecordHead + keySize + dataSize;
}

// Buffer space for the next `size` bytes.
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
  Flush();
  HostPlatform::Io::StartFlush(file_);
  const std::string index = index_.Finish(position_);
  if (position_ + index.size() > kLargestFile) RaiseFull(path_);
  HostPlatform::Io::WriteAll(file_, index, path_);
}

}  // namespace TavConfigStore
