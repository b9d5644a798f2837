// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What an error of the file layer becomes for those who see it: one row for each kind.
#ifndef PLATFORM_SRC_ERRORS_ERROR_TABLE_H_
#define PLATFORM_SRC_ERRORS_ERROR_TABLE_H_

#include <algorithm>
#include <array>
#include <system_error>

#include "errors/error.h"
#include "tavconfigstore/exception.h"

namespace HostPlatform::Io {

struct ErrorRow {
  ErrorKind kind;
  TavConfigStore::CSErrorCodes code;  // of the store's exception
  std::errc condition;                // of the std::system_error for tools
  bool isPermission;                  // for the file's exception, and HostPlatform's own question
};

inline constexpr std::array kErrorTable = {
    ErrorRow{ErrorKind::kBusy, TavConfigStore::kBusy, std::errc::device_or_resource_busy, false},
    ErrorRow{ErrorKind::kNoSpace, TavConfigStore::kNoSpace, std::errc::no_space_on_device, false},
    ErrorRow{ErrorKind::kPermissionDenied, TavConfigStore::kPermissionDenied,
             std::errc::permission_denied, true},
    ErrorRow{ErrorKind::kInsecure, TavConfigStore::kInsecure, std::errc::permission_denied, true},
    ErrorRow{ErrorKind::kOther, TavConfigStore::kIoError, std::errc::io_error, false},
};
static_assert(kErrorTable.size() == static_cast<std::size_t>(ErrorKind::kOther) + 1);
static_assert(std::is_sorted(kErrorTable.begin(), kErrorTable.end(),
                             [](const ErrorRow& a, const ErrorRow& b) { return a.kind < b.kind; }));

inline const ErrorRow& RowOf(const Error& error) {
  return kErrorTable[static_cast<std::size_t>(error.kind())];
}

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_ERRORS_ERROR_TABLE_H_
