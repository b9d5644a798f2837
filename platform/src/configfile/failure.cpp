// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "configfile/failure.h"

#include <memory>
#include <utility>

namespace ZynCtl::Config {

using HostPlatform::Io::Error;
using HostPlatform::Io::ErrorKind;

namespace {

// Attached by its address, without ownership, so that attaching cannot fail.
constinit const ErrorKind kPermission = ErrorKind::kPermissionDenied;

ConfigFileException MakeException(std::string message) {
  for (char& c : message) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
  }
  return ConfigFileException(message.c_str());
}

ConfigFileException MakeException(const Error& error) {
  ConfigFileException failure = MakeException(std::string(error.what()));
  if (error.kind() == ErrorKind::kPermissionDenied || error.kind() == ErrorKind::kInsecure) {
    failure.set_attachment({std::shared_ptr<const void>(), &kPermission});
  }
  return failure;
}

}  // namespace

void RaiseConfigFile(std::string message) {
  throw MakeException(std::move(message));
}

void RaiseConfigFile(const Error& error) {
  throw MakeException(error);
}

bool IsPermissionFailure(const ConfigFileException& failure) {
  return failure.attachment().get() == &kPermission;
}

}  // namespace ZynCtl::Config
