// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "errors/file_failure.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "errors/error_table.h"

namespace ZynCtl::Config {

using HostPlatform::Io::Error;

namespace {

using HostPlatform::Io::ErrorRow;
using HostPlatform::Io::kErrorTable;

ConfigFileException MakeException(std::string message) {
  for (char& c : message) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
  }
  return ConfigFileException(message.c_str());
}

ConfigFileException MakeException(const Error& error) {
  ConfigFileException failure = MakeException(std::string(error.what()));
  // By its address, without ownership, so that attaching cannot fail.
  failure.set_attachment({std::shared_ptr<const void>(), &HostPlatform::Io::RowOf(error)});
  return failure;
}

}  // namespace

ConfigFileException::ConfigFileException(const char* message) : BriskException(message) {}

ConfigFileException::~ConfigFileException() = default;

void RaiseConfigFile(std::string message) {
  throw MakeException(std::move(message));
}

void RaiseConfigFile(const Error& error) {
  throw MakeException(error);
}

bool IsPermissionFailure(const ConfigFileException& failure) {
  const void* const attached = failure.attachment().get();
  return std::any_of(kErrorTable.begin(), kErrorTable.end(),
                     [&](const ErrorRow& row) { return &row == attached && row.isPermission; });
}

}  // namespace ZynCtl::Config
