// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "managed_host.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>

#include "platform/admin.h"

namespace Quorctl {
namespace {

constexpr char kUsualHost[] = "/var/lib/quor";
constexpr char kUsualState[] = "/var/lib/quor-agent";

}  // namespace

std::string StateOfAgent() {
  const char* const given = secure_getenv("QUOR_AGENT_STATE");
  const bool isUsualHost = HostPlatform::HostDirectory() == kUsualHost;
  std::string directory = given != nullptr ? given : isUsualHost ? kUsualState : "";
  if (directory.empty()) return directory;
  struct stat status;
  const bool isThere = stat((directory + "/applied").c_str(), &status) == 0 || errno == EACCES;
  return isThere ? directory : std::string();
}

std::string WarningOfAgent() {
  const std::string state = StateOfAgent();
  if (state.empty()) return "";
  return "warning: quor-agent keeps this host equal to a release of its centre (state in " + state +
         ") and will undo the change; to change all hosts use quor-publish, to change this one "
         "alone stop the agent first";
}

}  // namespace Quorctl
