// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Backend over the host configuration store: policies and datastores are objects, and each set is
// replaced in one transaction.
#ifndef SRC_CONFIGSTORE_BACKEND_H_
#define SRC_CONFIGSTORE_BACKEND_H_

#include "api/backend.h"

namespace TavQuor::ConfigStoreBackend {

extern const Backend kBackend;

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_BACKEND_H_
