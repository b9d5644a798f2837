// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "file_text.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "catalogue/text/terminal_text.h"

namespace QuorAgent {

std::string ReadFileText(const std::string& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text;
  if (file) text.assign(std::istreambuf_iterator<char>(file), {});
  if (file && !file.bad() && errno == 0) return text;
  throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(),
                          Quorctl::EscapeForTerminal(path) + " cannot be read");
}

}  // namespace QuorAgent
