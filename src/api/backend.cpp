// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "api/backend.h"

#include "configfile/backend.h"
#include "configstore/backend.h"
#include "platform/feature_list.h"

namespace TavQuor {

const Backend& SelectBackend() {
  const bool usesConfigStore = *FeatureList[kFeatureQuorUsesConfigStore] != 0;
  return usesConfigStore ? ConfigStoreBackend::kBackend : ConfigFileBackend::kBackend;
}

}  // namespace TavQuor
