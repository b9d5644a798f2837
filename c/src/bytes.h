// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Results that the caller owns.
#ifndef C_SRC_BYTES_H_
#define C_SRC_BYTES_H_

#include <string>

#include "quor/quor.h"

namespace QuorC {

// What quor_bytes_free() takes and what is never freed.
inline constexpr quor_bytes kNoBytes = {"", 0, 0};

// Hands the text's own memory to the caller: a blob is not copied a second time.
quor_bytes Release(std::string&& text);

}  // namespace QuorC

#endif  // C_SRC_BYTES_H_
