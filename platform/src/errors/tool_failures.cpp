// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Classification of the services' failures, for tools.
#include "errors/file_failure.h"
#include "platform/admin.h"
#include "tavconfigstore/exception.h"

namespace HostPlatform {

bool IsPermissionFailure(const Brisk::Lib::BriskException& failure) {
  if (const auto* ofStore = dynamic_cast<const TavConfigStore::ConfigStoreException*>(&failure)) {
    return ofStore->code() == TavConfigStore::kPermissionDenied ||
           ofStore->code() == TavConfigStore::kInsecure;
  }
  const auto* ofFile = dynamic_cast<const ZynCtl::Config::ConfigFileException*>(&failure);
  return ofFile != nullptr && ZynCtl::Config::IsPermissionFailure(*ofFile);
}

}  // namespace HostPlatform
