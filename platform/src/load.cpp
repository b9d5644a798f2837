// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Initialisation at load time and cleanup at unload time.
//
// The feature switches are read as plain bytes and must be loaded before the first call. The
// parser's library is initialised here, because a child forked during its lazy initialisation would
// wait for it for ever.
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

// Also runs at exit, while other threads may still call; they rebuild what they need.
[[gnu::destructor]] void Unload() {
  const Io::CallScope scope;
  TavConfigStore::ForgetNewestSnapshot();
  ZynCtl::Config::ForgetNewestDocument();
}

}  // namespace
}  // namespace HostPlatform
