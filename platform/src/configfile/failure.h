// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The way in which the configuration-file library says no.
#ifndef PLATFORM_SRC_CONFIGFILE_FAILURE_H_
#define PLATFORM_SRC_CONFIGFILE_FAILURE_H_

#include <string>

#include "io/error.h"
#include "zynctl/exception.h"

namespace ZynCtl::Config {

// Names that stand in the file enter the message, which ends on terminals: control characters are
// shown as question marks.
[[noreturn]] void RaiseConfigFile(std::string message);

// The exception for one of the file layer. Its type has no room for a code, which tools need: the
// kind of a failure for lack of permission is attached to it, for copies to carry along.
[[noreturn]] void RaiseConfigFile(const HostPlatform::Io::Error& error);

// Whether the exception was raised for lack of permission.
bool IsPermissionFailure(const ConfigFileException& failure);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_FAILURE_H_
