// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "errors/error.h"

#include <system_error>

#include "errors/error_table.h"

namespace HostPlatform::Io {
namespace {

ErrorKind KindOf(int error) {
  switch (error) {
    case EAGAIN:
      return ErrorKind::kBusy;
    case EACCES:
    case EPERM:
    case EROFS:
      return ErrorKind::kPermissionDenied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ErrorKind::kNoSpace;
    case ELOOP:
      return ErrorKind::kInsecure;
    default:
      return ErrorKind::kOther;
  }
}

}  // namespace

void RaiseSystemError(int error, const std::string& path, const char* action) {
  std::string reason = std::generic_category().message(error);
  if (error == EAGAIN) {
    reason = "another program, a file server perhaps, has a lease on it and keeps it; try again";
  }
  if (error == ELOOP) reason = "it is a symbolic link, which is not followed here";
  throw Error(KindOf(error), path + ": cannot " + action, error, reason);
}

// std::system_error appends the text of its code.
void RaiseToTools(const Error& error) {
  if (error.systemError() != 0) {
    throw std::system_error(error.systemError(), std::generic_category(), error.context());
  }
  throw std::system_error(std::make_error_code(RowOf(error).condition), error.what());
}

}  // namespace HostPlatform::Io
