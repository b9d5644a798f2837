// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The least that a durable replacement can cost: the system calls, and nothing of a store.
#ifndef BENCH_FLOOR_H_
#define BENCH_FLOOR_H_

#include <string>

namespace Bench {

// The whole file, in one call of the system. Raises std::system_error.
std::string ReadFile(const std::string& path);

// Writes `bytes` to a new file in `directory`, flushes it, renames it to `name` and flushes the
// directory. Raises std::system_error.
void ReplaceFileDurably(const std::string& directory, const std::string& name,
                        const std::string& bytes);

}  // namespace Bench

#endif  // BENCH_FLOOR_H_
