// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Change of the process's host directory.
#include "configfile/document.h"
#include "configstore/snapshot_cache.h"
#include "features/feature_page.h"
#include "io/call_scope.h"
#include "io/error.h"
#include "io/host_paths.h"
#include "platform/admin.h"

namespace HostPlatform {

void UseHostDirectory(const std::string& path) {
  const Io::CallScope scope;
  Io::SetHostDirectory(path);
  TavConfigStore::ForgetNewestSnapshot();
  ZynCtl::Config::ForgetNewestDocument();
  ReloadFeatures();
}

}  // namespace HostPlatform
