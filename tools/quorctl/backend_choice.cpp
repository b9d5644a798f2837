// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "backend_choice.h"

#include "host_backend.h"

namespace Quorctl {
namespace {

// The state of the host's switch, even if this process was told to use the other store.
bool SwitchOfTheHost() {
  const bool used = BackendSwitch().on;
  HostPlatform::UseHostDirectory(HostPlatform::HostDirectory());
  const bool selected = BackendSwitch().on;
  UseBackend(used);
  return selected;
}

}  // namespace

void StayWithTheBackend() {
  UseBackend(BackendSwitch().on);
}

std::string NoteOfAnotherBackend() {
  const bool selected = SwitchOfTheHost();
  if (selected == BackendSwitch().on) return std::string();
  return "the switch selects the " + BackendName(selected) + ": programs do not see this one\n";
}

}  // namespace Quorctl
