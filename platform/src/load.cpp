// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Initialisation at load time and cleanup at unload time.
//
// The feature switches are read as plain bytes and must be loaded before the first call.
#include "os/call_scope.h"
#include "os/fork.h"
#include "os/host_paths.h"
#include "services/feature_page.h"
#include "store/snapshot_cache.h"
#include "tree/document.h"

namespace HostPlatform {
namespace {

[[gnu::constructor]] void Load() {
  const Io::CallScope scope;
  Io::RegisterForkHandlers();
  Io::ReadEnvironment();
  LoadFeatures();
}

// Also runs at exit, while other threads may still call; they rebuild what they need.
[[gnu::destructor]] void Unload() {
  const Io::CallScope scope;
  TavConfigStore::ForgetNewestSnapshot();
  ZynCtl::Config::ForgetNewestDocument();
}

}  // namespace
}  // namespace HostPlatform
