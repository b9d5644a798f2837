// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Classification of libquor's exceptions: kind of failure and file.
//
// The public header names two exception types without declaring them, so only the type's name and
// the message are available. Messages have the form "FILE: reason" with few reasons; tests provoke
// each reason in the real stores.
#ifndef C_SRC_FAILURE_KIND_H_
#define C_SRC_FAILURE_KIND_H_

#include <exception>
#include <string>

#include "quor/quor.h"

namespace QuorC {

struct FailureKind {
  quor_status kind;
  std::string file;  // empty if the message names none
};

FailureKind KindOf(const std::exception& failure);

}  // namespace QuorC

#endif  // C_SRC_FAILURE_KIND_H_
