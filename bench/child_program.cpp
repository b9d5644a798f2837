// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "child_program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Bench {
namespace {

// The null-ended array that the system's calls want.
std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts)
    pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

class OutputPipe {
 public:
  OutputPipe() {
    if (pipe2(ends_, O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, ends_[1], STDOUT_FILENO);
  }
  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;
  ~OutputPipe() {
    posix_spawn_file_actions_destroy(&actions_);
    close(ends_[0]);
    if (ends_[1] >= 0) close(ends_[1]);
  }

  const posix_spawn_file_actions_t* actions() const { return &actions_; }

  // Until the child has closed its end.
  std::string ReadAll() {
    close(std::exchange(ends_[1], -1));
    std::string output;
    char buffer[256];
    for (ssize_t got; (got = read(ends_[0], buffer, sizeof buffer)) > 0;)
      output.append(buffer, static_cast<std::size_t>(got));
    return output;
  }

 private:
  int ends_[2] = {-1, -1};
  posix_spawn_file_actions_t actions_;
};

}  // namespace

ChildProgram::ChildProgram(std::string path, std::vector<std::string> environment)
    : path_(std::move(path)), environment_(std::move(environment)) {}

std::string ChildProgram::Run(const std::vector<std::string>& arguments) const {
  std::vector<std::string> all = {path_};
  all.insert(all.end(), arguments.begin(), arguments.end());
  OutputPipe pipe;
  pid_t child = -1;
  const int error = posix_spawn(&child, path_.c_str(), pipe.actions(), nullptr,
                                Pointers(all).data(), Pointers(environment_).data());
  if (error != 0) throw std::system_error(error, std::generic_category(), path_);
  std::string output = pipe.ReadAll();
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error(path_ + " failed");
  }
  return output;
}

}  // namespace Bench
