// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "failure.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "failure_kind.h"

struct quor_error {
  quor_status kind;
  std::string message;
  std::string file;
};

namespace QuorC {
namespace {

// Its address is the error object of every lack of memory.
constinit char noMemory = 0;

quor_error* NoMemory() {
  return reinterpret_cast<quor_error*>(&noMemory);
}

bool IsNoMemory(const quor_error* error) {
  return reinterpret_cast<const char*>(error) == &noMemory;
}

quor_status FailForMemory(quor_error** error) noexcept {
  if (error != nullptr) *error = NoMemory();
  return QUOR_NO_MEMORY;
}

}  // namespace

quor_status Fail(quor_status kind, const std::string& message, const std::string& file,
                 quor_error** error) noexcept {
  if (error == nullptr) return kind;
  try {
    *error = new quor_error{kind, message, file};
    return kind;
  } catch (...) {
    return FailForMemory(error);
  }
}

quor_status FailCurrentException(quor_error** error) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return FailForMemory(error);
  } catch (const std::length_error&) {  // a length beyond the address space
    return FailForMemory(error);
  } catch (const std::invalid_argument& misuse) {
    return Fail(QUOR_USAGE, misuse.what(), "", error);
  } catch (const std::system_error& refusal) {  // raised by this library; libquor raises none
    return Fail(QUOR_SYSTEM, refusal.what(), "", error);
  } catch (const std::exception& failure) {
    try {
      const FailureKind found = KindOf(failure);
      if (found.kind == QUOR_NO_MEMORY) return FailForMemory(error);
      return Fail(found.kind, failure.what(), found.file, error);
    } catch (...) {
      return FailForMemory(error);
    }
  } catch (...) {
    return Fail(QUOR_SYSTEM, "an exception of a foreign type was raised", "", error);
  }
}

}  // namespace QuorC

using QuorC::IsNoMemory;

quor_status quor_error_kind(const quor_error* error) {
  if (error == nullptr) return QUOR_OK;
  return IsNoMemory(error) ? QUOR_NO_MEMORY : error->kind;
}

const char* quor_error_message(const quor_error* error) {
  if (error == nullptr) return "";
  return IsNoMemory(error) ? "no memory is left in this process" : error->message.c_str();
}

const char* quor_error_file(const quor_error* error) {
  return error == nullptr || IsNoMemory(error) ? "" : error->file.c_str();
}

void quor_error_free(quor_error* error) {
  if (!IsNoMemory(error)) delete error;
}

const char* quor_status_text(quor_status status) {
  switch (status) {
    case QUOR_OK:
      return "done";
    case QUOR_STORE:
      return "configuration store";
    case QUOR_FILE:
      return "configuration file";
    case QUOR_BUSY:
      return "busy";
    case QUOR_PERMISSION:
      return "permission denied";
    case QUOR_CORRUPT:
      return "damaged";
    case QUOR_NO_SPACE:
      return "no space";
    case QUOR_NO_MEMORY:
      return "no memory";
    case QUOR_USAGE:
      return "wrong use";
    case QUOR_SYSTEM:
      return "system";
  }
  return "unknown";
}
