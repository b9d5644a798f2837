// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "global_options.h"

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

void GlobalOptions::Apply() const {
  if (!root_.Given()) return;
  if (root_.Value().empty()) throw UsageError("--root: the name of the directory is empty");
  HostPlatform::UseHostDirectory(root_.Value());
}

}  // namespace Quorctl
