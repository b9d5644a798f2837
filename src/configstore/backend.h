// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The configuration-store backend: policies and datastores as objects of the host configuration
// store, each set replaced in one store transaction.
#ifndef SRC_CONFIGSTORE_BACKEND_H_
#define SRC_CONFIGSTORE_BACKEND_H_

#include "api/backend.h"

namespace TavQuor::ConfigStoreBackend {

extern const Backend kBackend;

}  // namespace TavQuor::ConfigStoreBackend

#endif  // SRC_CONFIGSTORE_BACKEND_H_
