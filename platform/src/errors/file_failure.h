// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Failures of the configuration file.
#ifndef PLATFORM_SRC_ERRORS_FILE_FAILURE_H_
#define PLATFORM_SRC_ERRORS_FILE_FAILURE_H_

#include <string>

#include "errors/error.h"
#include "zynctl/exception.h"

namespace ZynCtl::Config {

// Replaces control characters in the message by question marks: it may contain names from the file
// and be shown on a terminal.
[[noreturn]] void RaiseConfigFile(std::string message);

// Converts an error of the file layer. The exception's type has no member for a code, so the row of
// the error's kind is attached to it and to its copies, for tools.
[[noreturn]] void RaiseConfigFile(const HostPlatform::Io::Error& error);

// True if the exception was raised for a missing permission.
bool IsPermissionFailure(const ConfigFileException& failure);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_ERRORS_FILE_FAILURE_H_
