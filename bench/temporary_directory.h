// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A directory of its own, gone with everything in it at the end.
#ifndef BENCH_TEMPORARY_DIRECTORY_H_
#define BENCH_TEMPORARY_DIRECTORY_H_

#include <string>

namespace Bench {

class TemporaryDirectory {
 public:
  // Made in `parent`, which is created when it is missing.
  explicit TemporaryDirectory(const std::string& parent);
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace Bench

#endif  // BENCH_TEMPORARY_DIRECTORY_H_
