// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A file's bytes in memory, for reading.
#ifndef PLATFORM_SRC_IO_FILE_MAPPING_H_
#define PLATFORM_SRC_IO_FILE_MAPPING_H_

#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include "io/error.h"
#include "io/file_descriptor.h"

namespace HostPlatform::Io {

class FileMapping {
 public:
  // The first `size` bytes, at least one. Raises when the system refuses.
  FileMapping(const FileDescriptor& file, std::size_t size, const std::string& path)
      : address_(mmap(nullptr, size, PROT_READ, MAP_SHARED, file.get(), 0)), size_(size) {
    if (address_ == MAP_FAILED) RaiseSystemError(errno, path, "map");
  }
  FileMapping(const FileMapping&) = delete;
  FileMapping& operator=(const FileMapping&) = delete;
  ~FileMapping() {
    const ErrnoKeeper keeper;
    munmap(address_, size_);
  }

  std::string_view bytes() const { return {static_cast<const char*>(address_), size_}; }

 private:
  void* address_;
  std::size_t size_;
};

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_IO_FILE_MAPPING_H_
