// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the file layer raises, and how a failed system call becomes it.
#ifndef PLATFORM_SRC_IO_ERROR_H_
#define PLATFORM_SRC_IO_ERROR_H_

#include <cerrno>
#include <stdexcept>
#include <string>

namespace HostPlatform::Io {

enum class ErrorKind { kBusy, kNoSpace, kPermissionDenied, kInsecure, kOther };

// The message names the path, what was tried, the reason and, where there is one, the way out.
class Error : public std::runtime_error {
 public:
  Error(ErrorKind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  // For `error`, an errno value, whose text is put behind `context`.
  Error(ErrorKind kind, const std::string& context, int error, const std::string& reason)
      : std::runtime_error(context + ": " + reason),
        kind_(kind),
        context_(context),
        systemError_(error) {}

  ErrorKind kind() const noexcept { return kind_; }
  // 0 when no system call failed.
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

// Raises std::system_error for tools, which know no other type of this layer: with the errno value
// of the failed system call, or the nearest one where the Error has none.
[[noreturn]] void RaiseToTools(const Error& error);

// Puts errno back to what it was: host programs look at theirs after calling us.
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

#endif  // PLATFORM_SRC_IO_ERROR_H_
