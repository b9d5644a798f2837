// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which kind of failure an exception of libquor is, and which file it is about.
//
// The public header names two exception types and shows neither: what is known of a failure is the
// name of its type and its message. Messages have one form, "FILE: reason", and their reasons are
// few; tests provoke each of them in the real stores.
#ifndef C_SRC_FAILURE_KIND_H_
#define C_SRC_FAILURE_KIND_H_

#include <exception>
#include <string>

#include "quor/quor.h"

namespace QuorC {

struct FailureKind {
  quor_status kind;
  std::string file;  // empty where the message names none
};

FailureKind KindOf(const std::exception& failure);

}  // namespace QuorC

#endif  // C_SRC_FAILURE_KIND_H_
