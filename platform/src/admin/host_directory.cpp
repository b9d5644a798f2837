// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Change of the process's host directory.
#include "errors/error.h"
#include "os/call_scope.h"
#include "os/host_paths.h"
#include "platform/admin.h"
#include "services/feature_page.h"
#include "store/snapshot_cache.h"
#include "tree/document.h"

namespace HostPlatform {

void UseHostDirectory(const std::string& path) {
  const Io::CallScope scope;
  Io::SetHostDirectory(path);
  TavConfigStore::ForgetNewestSnapshot();
  ZynCtl::Config::ForgetNewestDocument();
  ReloadFeatures();
}

}  // namespace HostPlatform
