// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The ways in which the store says no.
#ifndef PLATFORM_SRC_CONFIGSTORE_FAILURE_H_
#define PLATFORM_SRC_CONFIGSTORE_FAILURE_H_

#include <string>
#include <string_view>

#include "io/error.h"
#include "tavconfigstore/exception.h"

namespace TavConfigStore {

// kCorrupt, naming the file and what is wrong with it.
[[noreturn]] void RaiseCorrupt(const std::string& path, const std::string& reason);

// kWrongType: the value of that name is not `wanted`.
[[noreturn]] void RaiseWrongType(std::string_view name, const char* wanted);

// kUsage.
[[noreturn]] void RaiseUsage(const char* message);

// The store's exception for one of the file layer.
[[noreturn]] void Raise(const HostPlatform::Io::Error& error);

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_CONFIGSTORE_FAILURE_H_
