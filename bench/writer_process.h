// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Another process that commits when it is told to.
#ifndef BENCH_WRITER_PROCESS_H_
#define BENCH_WRITER_PROCESS_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "workload.h"

namespace Bench {

class WriterProcess {
 public:
  // A child of this process, which may have no catalogue open. It opens those below `directory`
  // when they are first wanted. Raises std::system_error.
  WriterProcess(const Workload& workload, const std::vector<std::string>& contestants,
                const std::string& directory);
  WriterProcess(const WriterProcess&) = delete;
  WriterProcess& operator=(const WriterProcess&) = delete;
  ~WriterProcess();

  // Replaces all policies in the catalogue of that contestant; returns when it is done. Raises
  // std::runtime_error when it failed.
  void Commit(std::size_t contestant) const;

 private:
  int socket_ = -1;
  pid_t child_ = -1;
};

}  // namespace Bench

#endif  // BENCH_WRITER_PROCESS_H_
