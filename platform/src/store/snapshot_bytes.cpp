// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/snapshot_bytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "errors/error.h"
#include "errors/store_failure.h"
#include "os/call_scope.h"
#include "os/fork.h"
#include "services/bytes.h"

namespace TavConfigStore {

namespace {

constexpr std::uint64_t kEndSize = 1024;  // usually all that opening needs

}  // namespace

using HostPlatform::CheckedSize;
using HostPlatform::Io::ErrnoKeeper;
using HostPlatform::Io::FileDescriptor;

SnapshotBytes::SnapshotBytes(const FileDescriptor& file, std::uint64_t size,
                             const std::string& path)
    : path_(path),
      size_(size),
      memory_(CheckedSize(std::min(size, kEndSize)), '\0'),
      start_(size - memory_.size()),
      mapping_(mmap(nullptr, CheckedSize(size), PROT_READ, MAP_SHARED, file.get(), 0)),
      mappedSize_(CheckedSize(size)) {
  if (mapping_ == MAP_FAILED) mapping_ = nullptr;
  if (mapping_ != nullptr && CopyOut(start_, memory_.size(), memory_.data())) return;
  // process_vm_readv() is refused, or the file is unreadable; ReadWhole() raises the reason then.
  Unmap();
  ReadWhole(file);
}

SnapshotBytes::~SnapshotBytes() {
  const ErrnoKeeper keeper;
  Unmap();
  for (Copy* copy = kept_.load(std::memory_order_relaxed); copy != nullptr;)
    Free()(std::exchange(copy, copy->next));
}

void SnapshotBytes::Unmap() noexcept {
  if (mapping_ != nullptr) munmap(std::exchange(mapping_, nullptr), mappedSize_);
}

void SnapshotBytes::ReadWhole(const FileDescriptor& file) {
  memory_.resize(CheckedSize(size_));
  start_ = 0;
  HostPlatform::Io::ReadAt(file, 0, memory_.data(), memory_.size(), path_);
}

void SnapshotBytes::Replace(std::string bytes) {
  memory_ = std::move(bytes);
  start_ = 0;
  size_ = memory_.size();
  Unmap();
}

// False if the kernel stopped at an unreadable page, after copying the bytes before it.
// NOLINTNEXTLINE(readability-non-const-parameter): the kernel writes there
bool SnapshotBytes::CopyOut(std::uint64_t position, std::size_t size, char* to) const noexcept {
  const iovec into{to, size};
  const iovec from{static_cast<char*>(mapping_) + position, size};
  return process_vm_readv(HostPlatform::Io::ProcessNumber(), &into, 1, &from, 1, 0) ==
         static_cast<ssize_t>(size);
}

SnapshotBytes::Part SnapshotBytes::Read(std::uint64_t position, std::uint64_t size) const {
  if (size > size_ || position > size_ - size) {
    RaiseCorrupt(path_, "it points outside of itself");
  }
  Part part;
  const std::size_t count = CheckedSize(size);
  if (position >= start_) {
    part.bytes_ = std::string_view(memory_).substr(CheckedSize(position - start_), count);
    return part;
  }
  part.copy_.reset(new (::operator new(sizeof(Copy) + count)) Copy{nullptr});
  char* const bytes = reinterpret_cast<char*>(part.copy_.get() + 1);
  const ErrnoKeeper keeper;
  if (!CopyOut(position, count, bytes)) RaiseUnreadable(position, count);
  part.bytes_ = {bytes, count};
  return part;
}

const char* SnapshotBytes::Keep(Part part) const noexcept {
  if (Copy* const copy = part.copy_.release()) {
    copy->next = kept_.load(std::memory_order_relaxed);
    while (!kept_.compare_exchange_weak(copy->next, copy, std::memory_order_release,
                                        std::memory_order_relaxed)) {
    }
  }
  return part.bytes_.data();
}

void SnapshotBytes::ReleasePages() const noexcept {
  const ErrnoKeeper keeper;
  if (mapping_ != nullptr) madvise(mapping_, mappedSize_, MADV_DONTNEED);
}

// Reads the range from the file to learn the errno value, which process_vm_readv() does not give.
void SnapshotBytes::RaiseUnreadable(std::uint64_t position, std::size_t size) const try {
  const HostPlatform::Io::CallScope scope;
  const std::string range =
      path_ + ", bytes " + std::to_string(position) + " to " + std::to_string(position + size - 1);
  const FileDescriptor file(AT_FDCWD, path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  std::string ignored(size, '\0');
  if (file) HostPlatform::Io::ReadAt(file, CheckedSize(position), ignored.data(), size, range);
  throw ConfigStoreException(range +
                                 ": cannot read: the file was cut or overwritten while it was in "
                                 "use; move a file that is put back into its place",
                             kIoError);
} catch (const HostPlatform::Io::Error& error) {
  Raise(error);
}

}  // namespace TavConfigStore
