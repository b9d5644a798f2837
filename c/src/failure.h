// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Conversion of exceptions to a status and an error object.
#ifndef C_SRC_FAILURE_H_
#define C_SRC_FAILURE_H_

#include <stdexcept>
#include <string>

#include "call_scope.h"
#include "quor/quor.h"

namespace QuorC {

// Stores an error of that kind in `error` unless that is null, and returns the kind. `file` is the
// subject of the message, or empty. Stores and returns QUOR_NO_MEMORY if memory runs out.
quor_status Fail(quor_status kind, const std::string& message, const std::string& file,
                 quor_error** error) noexcept;

// The same for the current exception; for catch blocks.
quor_status FailCurrentException(quor_error** error) noexcept;

// Runs `call` in a CallScope and converts its exceptions.
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

// The same for functions of an object, without an error object: QUOR_USAGE if `object` is null or
// for std::invalid_argument, QUOR_NO_MEMORY for any other exception.
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
