// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Errors of the file layer, and their making from failed system calls.
#ifndef PLATFORM_SRC_ERRORS_ERROR_H_
#define PLATFORM_SRC_ERRORS_ERROR_H_

#include <cerrno>
#include <stdexcept>
#include <string>

namespace HostPlatform::Io {

enum class ErrorKind { kBusy, kNoSpace, kPermissionDenied, kInsecure, kOther };

// The message names the path, the action, the reason and, if known, the remedy.
class Error : public std::runtime_error {
 public:
  Error(ErrorKind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  // For a failed system call: `error` is its errno value, `reason` the text after `context`.
  Error(ErrorKind kind, const std::string& context, int error, const std::string& reason)
      : std::runtime_error(context + ": " + reason),
        kind_(kind),
        context_(context),
        systemError_(error) {}

  ErrorKind kind() const noexcept { return kind_; }
  // The errno value; 0 if no system call failed.
  int systemError() const noexcept { return systemError_; }
  // The message without the reason.
  const std::string& context() const noexcept { return context_; }

 private:
  ErrorKind kind_;
  std::string context_;
  int systemError_ = 0;
};

// Raises an Error for `error`, an errno value: "PATH: cannot ACTION: reason".
[[noreturn]] void RaiseSystemError(int error, const std::string& path, const char* action);

// Rethrows as std::system_error, the only type of this layer that tools know. Its code is the errno
// value of the Error, or the nearest one for its kind.
[[noreturn]] void RaiseToTools(const Error& error);

// Restores errno at the end of the scope.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : saved_(errno) {}
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
  ~ErrnoKeeper() { errno = saved_; }

 private:
  int saved_;
};

// Repeats a system call that a signal interrupted. Not for close().
template <typename Call>
auto RetryInterrupted(Call call) {
  decltype(call()) result;
  do {
    result = call();
  } while (result == -1 && errno == EINTR);
  return result;
}

}  // namespace HostPlatform::Io

#endif  // PLATFORM_SRC_ERRORS_ERROR_H_
