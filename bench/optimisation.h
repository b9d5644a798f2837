// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Whether numbers of this build mean anything.
#ifndef BENCH_OPTIMISATION_H_
#define BENCH_OPTIMISATION_H_

// Sanitizers of the build, as in -fsanitize=; the build system gives them.
#ifndef BENCH_SANITIZERS
#define BENCH_SANITIZERS ""
#endif

namespace Bench {

inline bool IsOptimised() {
#if defined(__OPTIMIZE__)
  return BENCH_SANITIZERS[0] == '\0';
#else
  return false;
#endif
}

}  // namespace Bench

#endif  // BENCH_OPTIMISATION_H_
