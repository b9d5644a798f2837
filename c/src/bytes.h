// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Results owned by the caller.
#ifndef C_SRC_BYTES_H_
#define C_SRC_BYTES_H_

#include <string>

#include "quor/quor.h"

namespace QuorC {

// The empty result, for which quor_bytes_free() does nothing.
inline constexpr quor_bytes kNoBytes = {"", 0, 0};

// Moves the text to the caller without copying it.
quor_bytes Release(std::string&& text);

}  // namespace QuorC

#endif  // C_SRC_BYTES_H_
