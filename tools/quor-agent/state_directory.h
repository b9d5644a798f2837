// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The agent's durable state: the release that the host should hold, and the one that it held when
// it was last made equal.
#ifndef TOOLS_QUOR_AGENT_STATE_DIRECTORY_H_
#define TOOLS_QUOR_AGENT_STATE_DIRECTORY_H_

#include <optional>
#include <stdexcept>
#include <string>

#include "kept_release.h"

namespace QuorAgent {

// Another agent works on the directory.
class DirectoryTaken : public std::runtime_error {
  using runtime_error::runtime_error;
};

// A directory with the files `wanted` and `applied`. Each is replaced as a whole: written beside
// the old one, flushed, renamed over it, and the directory flushed. Failures are std::system_error
// with the path.
class StateDirectory {
 public:
  enum class Use { kReadOnly, kExclusive };

  // kExclusive makes the directory (mode 0700, its parents are to be there) and locks it until the
  // object or the process ends; raises DirectoryTaken when another agent has it. The lock is on the
  // directory itself, so it can be taken on a full or read-only disk.
  StateDirectory(const std::string& path, Use use);
  StateDirectory(const StateDirectory&) = delete;
  StateDirectory& operator=(const StateDirectory&) = delete;
  ~StateDirectory();

  // Return nothing if the file does not exist. Raise BadKeptFile if it is damaged.
  std::optional<Wanted> ReadWanted() const;
  std::optional<Applied> ReadApplied() const;

  void WriteWanted(const Wanted& wanted);
  void WriteApplied(const Applied& applied);

  const std::string& path() const { return path_; }

 private:
  std::optional<std::string> Read(const char* name) const;
  void Replace(const char* name, const std::string& bytes);
  [[noreturn]] void RaiseErrno(const char* what, const std::string& name) const;

  std::string path_;
  int directory_ = -1;  // none where the directory is only read and is not there
};

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_STATE_DIRECTORY_H_
