// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Failures of the store.
#ifndef PLATFORM_SRC_ERRORS_STORE_FAILURE_H_
#define PLATFORM_SRC_ERRORS_STORE_FAILURE_H_

#include <string>
#include <string_view>

#include "errors/error.h"
#include "tavconfigstore/exception.h"

namespace TavConfigStore {

// Raises kCorrupt with the file and the reason.
[[noreturn]] void RaiseCorrupt(const std::string& path, const std::string& reason);

// Raises kWrongType: the value of that name is not a `wanted`.
[[noreturn]] void RaiseWrongType(std::string_view name, const char* wanted);

// Raises kUsage.
[[noreturn]] void RaiseUsage(const char* message);

// Converts an error of the file layer.
[[noreturn]] void Raise(const HostPlatform::Io::Error& error);

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_ERRORS_STORE_FAILURE_H_
