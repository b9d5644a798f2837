// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "pager.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "text/terminal_size.h"

namespace Quorctl {
namespace {

constexpr int kNoSuchProgram = 127;  // as the shell tells it
constexpr char kUsualPager[] = "command -v less >/dev/null && exec less; exit 127";

// Signals that the keyboard sends are the pager's business, and so is its early end.
class IgnoredSignals {
 public:
  IgnoredSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i)
      before_[i] = std::signal(kSignals[i], SIG_IGN);
  }
  IgnoredSignals(const IgnoredSignals&) = delete;
  IgnoredSignals& operator=(const IgnoredSignals&) = delete;
  ~IgnoredSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i)
      std::signal(kSignals[i], before_[i]);
  }

 private:
  static constexpr std::array<int, 3> kSignals = {SIGINT, SIGQUIT, SIGPIPE};
  std::array<void (*)(int), 3> before_;
};

bool HasOthersRights() {
  return getuid() != geteuid() || getgid() != getegid() || std::getenv("SUDO_UID") != nullptr;
}

// The operator's command; empty for none.
std::string PagerCommand() {
  if (HasOthersRights()) {
    setenv("LESSSECURE", "1", /*replace=*/1);
    return kUsualPager;
  }
  for (const char* const name : {"QUORCTL_PAGER", "PAGER"}) {
    if (const char* const value = std::getenv(name))
      return value == std::string("cat") ? "" : value;
  }
  return kUsualPager;
}

}  // namespace

bool ShowInPager(const std::string& text) {
  const std::size_t rows = SizeOfTerminal().rows;
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  if (rows == 0 || lines < rows) return false;
  const std::string command = PagerCommand();
  if (command.empty()) return false;
  setenv("LESS", "FRX", /*replace=*/0);  // colours as they are, and the text stays on the terminal
  FILE* const pager = popen(command.c_str(), "we");
  if (pager == nullptr) return false;
  const IgnoredSignals ignored;
  std::fwrite(text.data(), 1, text.size(), pager);
  const int status = pclose(pager);
  return !WIFEXITED(status) || WEXITSTATUS(status) != kNoSuchProgram;
}

}  // namespace Quorctl
