#include "host_backend.h"

#include <unistd.h>

#include <cerrno>

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

std::string BackendName(bool usesConfigStore) {
  return usesConfigStore ? "configuration store" : "configuration file";
}

std::string SelectedBackendPlace() {
  return "the " + BackendName(BackendSwitch().on) + " in " + HostPlatform::HostDirectory();
}

}  // namespace Quorctl
