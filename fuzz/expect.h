// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What must hold for every input.
#ifndef FUZZ_EXPECT_H_
#define FUZZ_EXPECT_H_

#include <cstdio>
#include <cstdlib>

namespace Fuzz {

// Ends the process where it does not, so that the input is kept as a find.
inline void Expect(bool holds, const char* statement) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", statement);
  std::abort();
}

}  // namespace Fuzz

#endif  // FUZZ_EXPECT_H_
