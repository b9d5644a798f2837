// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "host_backend.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "catalogue/text/terminal_text.h"
#include "exit_status.h"
#include "platform/feature_list.h"

namespace Quorctl {

HostPlatform::FeatureState BackendSwitch() {
  return HostPlatform::GetFeature(kFeatureQuorUsesConfigStore);
}

void ExpectReadable(const HostPlatform::FeatureState& backendSwitch) {
  if (backendSwitch.problem.empty()) return;
  const bool denied = access(backendSwitch.path.c_str(), R_OK) != 0 && errno == EACCES;
  throw CommandError(denied ? ExitStatus::kPermission : ExitStatus::kStore, backendSwitch.problem);
}

void UseBackend(bool usesConfigStore) {
  HostPlatform::OverrideFeature(kFeatureQuorUsesConfigStore, usesConfigStore);
}

void WaitBriefly() {
  constexpr std::uint32_t kLongestWait = 2000;  // milliseconds
  HostPlatform::UseLockTimeout(std::min(HostPlatform::LockTimeout(), kLongestWait));
}

bool IsStoreChosen(const std::string& choice) {
  if (choice == "store") return true;
  if (choice == "file") return false;
  throw UsageError("unknown choice " + Quoted(choice) + "; choose store or file");
}

std::string BackendName(bool usesConfigStore) {
  return usesConfigStore ? "configuration store" : "configuration file";
}

std::string SelectedBackendPlace() {
  return "the " + BackendName(BackendSwitch().on) + " in " +
         EscapeForTerminal(HostPlatform::HostDirectory());
}

}  // namespace Quorctl
