// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace Bench {

TemporaryDirectory::TemporaryDirectory(const std::string& parent) : path_(parent + "/run-XXXXXX") {
  std::filesystem::create_directories(parent);
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), path_);
  }
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;  // what is left lies in the build directory
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace Bench
