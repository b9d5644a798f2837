// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What happens when the platform is loaded and unloaded, in this order and nothing else.
//
// The feature switches are read as plain bytes, so they must be in place before the first call.
#include "configfile/document.h"
#include "configstore/snapshot_cache.h"
#include "features/feature_page.h"
#include "io/fork.h"
#include "io/host_paths.h"

namespace HostPlatform {
namespace {

[[gnu::constructor]] void Load() {
  Io::RegisterForkHandlers();
  Io::ReadEnvironment();
  LoadFeatures();
}

// Runs at the end of the program too, while other threads may still call: all that is taken away is
// made anew when it is needed.
[[gnu::destructor]] void Unload() {
  TavConfigStore::ForgetNewestSnapshot();
  ZynCtl::Config::ForgetNewestDocument();
}

}  // namespace
}  // namespace HostPlatform
