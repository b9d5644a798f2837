// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "global_options.h"

#include <sys/stat.h>
#include <CLI/CLI.hpp>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include "catalogue/text/terminal_text.h"
#include "exit_status.h"
#include "platform/admin.h"

namespace Quorctl {

void GlobalOptions::Declare(CLI::App& parser) {
  root_.Declare(parser, "--root", "DIR",
                "the host directory, in place of QUOR_HOST_DIR from the\n"
                "environment and of /var/lib/quor");
  parser.set_help_flag("-h,--help", "print help, with a command its own, and exit");
  parser.set_version_flag("--version", std::string("quorctl " QUORCTL_VERSION),
                          "print the version and exit");
}

namespace {

// The platform would go on with its own deadline.
void ExpectLockTimeout() {
  const char* const text = std::getenv("QUOR_LOCK_TIMEOUT_MS");
  if (!text) return;
  const std::string given = text;
  std::uint32_t milliseconds = 0;
  const auto [stop, error] = std::from_chars(text, text + given.size(), milliseconds);
  if (error == std::errc() && stop == text + given.size()) return;
  throw UsageError("QUOR_LOCK_TIMEOUT_MS is " + Quoted(given) + ", which is no number of " +
                   "milliseconds");
}

}  // namespace

void UseHost(const Argument& root, const std::string& option, bool mayMakeHost) {
  const std::string& directory = root.Value();
  if (directory.empty()) throw UsageError(option + ": the name of the directory is empty");
  struct stat status;
  const bool missing = stat(directory.c_str(), &status) != 0 && errno == ENOENT;
  if (missing && !mayMakeHost) {
    throw CommandError(ExitStatus::kNoHost,
                       directory +
                           ": there is no such host directory; \"quorctl apply "
                           "--create\" makes one");
  }
  HostPlatform::UseHostDirectory(directory);
}

void GlobalOptions::Apply(bool mayMakeHost) const {
  ExpectLockTimeout();
  if (root_.Given()) UseHost(root_, "--root", mayMakeHost);
}

}  // namespace Quorctl
