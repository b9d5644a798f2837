// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What happens when the platform is loaded and unloaded, in this order and nothing else.
//
// The feature switches are read as plain bytes, so they must be in place before the first call.
// What the parser's library makes on first use would never be finished in a child that is forked
// meanwhile.
#include "configfile/document.h"
#include "configfile/document_parser.h"
#include "configstore/snapshot_cache.h"
#include "features/feature_page.h"
#include "io/call_scope.h"
#include "io/fork.h"
#include "io/host_paths.h"

namespace HostPlatform {
namespace {

[[gnu::constructor]] void Load() {
  const Io::CallScope scope;
  Io::RegisterForkHandlers();
  Io::ReadEnvironment();
  LoadFeatures();
  ZynCtl::Config::PrepareParser();
}

// Runs at the end of the program too, while other threads may still call: all that is taken away is
// made anew when it is needed.
[[gnu::destructor]] void Unload() {
  const Io::CallScope scope;
  TavConfigStore::ForgetNewestSnapshot();
  ZynCtl::Config::ForgetNewestDocument();
}

}  // namespace
}  // namespace HostPlatform
