// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "tavconfigstore/exception.h"

#include <utility>

#include "errors/error_table.h"
#include "errors/store_failure.h"

namespace TavConfigStore {

ConfigStoreException::ConfigStoreException(std::string message, CSErrorCodes code)
    : BriskException(std::move(message)), code_(code) {}

ConfigStoreException::~ConfigStoreException() = default;

void RaiseCorrupt(const std::string& path, const std::string& reason) {
  throw ConfigStoreException(path + ": damaged: " + reason +
                                 "; nothing was changed. Restore the file from a backup, or move "
                                 "it away and push the catalogue again",
                             kCorrupt);
}

void RaiseWrongType(std::string_view name, const char* wanted) {
  throw ConfigStoreException(
      std::string("value \"").append(name).append("\" is not ").append(wanted), kWrongType);
}

void RaiseUsage(const char* message) {
  throw ConfigStoreException(message, kUsage);
}

void Raise(const HostPlatform::Io::Error& error) {
  throw ConfigStoreException(error.what(), HostPlatform::Io::RowOf(error).code);
}

}  // namespace TavConfigStore
