// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "support/program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <stdexcept>

namespace PlatformTest {
namespace {

std::vector<char*> Pointers(std::vector<std::string>* strings) {
  std::vector<char*> pointers;
  for (std::string& string : *strings)
    pointers.push_back(string.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::string ReadToTheEnd(int file) {
  std::string text;
  char buffer[4096];
  for (ssize_t got; (got = read(file, buffer, sizeof buffer)) != 0;) {
    if (got > 0) text.append(buffer, static_cast<std::size_t>(got));
    if (got < 0 && errno != EINTR) break;
  }
  return text;
}

}  // namespace

std::string OutputOf(const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment) {
  std::vector<std::string> argumentTexts = arguments;
  std::vector<std::string> environmentTexts = environment;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t child = 0;
  const int error =
      posix_spawn(&child, arguments[0].c_str(), &actions, nullptr, Pointers(&argumentTexts).data(),
                  Pointers(&environmentTexts).data());
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  const std::string output = ReadToTheEnd(ends[0]);
  close(ends[0]);
  int status = -1;
  if (error == 0) waitpid(child, &status, 0);
  if (status != 0) throw std::runtime_error(arguments[0] + ": failed");
  return output;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

}  // namespace PlatformTest
