// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The configuration-file backend: policies and datastores as branches of the host configuration
// file, each operation under the file's lock, with one Write() where it changes something.
#ifndef SRC_CONFIGFILE_BACKEND_H_
#define SRC_CONFIGFILE_BACKEND_H_

#include "api/backend.h"

namespace TavQuor::ConfigFileBackend {

extern const Backend kBackend;

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_BACKEND_H_
