// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// How failures leave the library: as a status and an error object, never as an exception.
#ifndef C_SRC_FAILURE_H_
#define C_SRC_FAILURE_H_

#include <stdexcept>
#include <string>

#include "call_scope.h"
#include "quor/quor.h"

namespace QuorC {

// Stores an error of that kind in `error`, unless that is null; returns the kind. The file is what
// the message is about, or empty. Where there is no memory for it, QUOR_NO_MEMORY is stored and
// returned.
quor_status Fail(quor_status kind, const std::string& message, const std::string& file,
                 quor_error** error) noexcept;

// The same for the exception that is being handled. To be called in a catch block.
quor_status FailCurrentException(quor_error** error) noexcept;

// Runs a call within a CallScope: its exceptions become an error.
template <typename Call>
quor_status Guard(quor_error** error, Call call) noexcept {
  if (error != nullptr) *error = nullptr;
  const CallScope scope;
  try {
    call();
  } catch (...) {
    return FailCurrentException(error);
  }
  return QUOR_OK;
}

// The same for a call on an object, which is wrong use where that is null, and without an error:
// QUOR_NO_MEMORY or QUOR_USAGE.
template <typename Call>
quor_status GuardMemory(const void* object, Call call) noexcept {
  if (object == nullptr) return QUOR_USAGE;
  const CallScope scope;
  try {
    call();
  } catch (const std::invalid_argument&) {
    return QUOR_USAGE;
  } catch (...) {
    return QUOR_NO_MEMORY;
  }
  return QUOR_OK;
}

}  // namespace QuorC

#endif  // C_SRC_FAILURE_H_
