// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Which of the host's two stores keeps the catalogue.
#ifndef TOOLS_QUORCTL_HOST_BACKEND_H_
#define TOOLS_QUORCTL_HOST_BACKEND_H_

#include <string>

#include "platform/admin.h"

namespace Quorctl {

// The state of the switch that selects the store, as this process sees it.
HostPlatform::FeatureState BackendSwitch();

// Raises CommandError when the host's switches cannot be read: other processes may then see another
// choice than this one, which has to take the default.
void ExpectReadable(const HostPlatform::FeatureState& backendSwitch);

// Makes this process use the given store from now on, whatever the switch says, so that all calls
// of a command go to the same store.
void UseBackend(bool usesConfigStore);

// For read-only commands: shortens the lock deadline, so that a held lock is reported soon.
void WaitBriefly();

// The choice of the words "store" and "file", which stand for the two. Raises UsageError for
// others.
bool IsStoreChosen(const std::string& choice);

// "configuration store"
std::string BackendName(bool usesConfigStore);

// "the configuration store in /var/lib/quor": the one that this process uses.
std::string SelectedBackendPlace();

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_HOST_BACKEND_H_
