// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Backend over the host configuration file: policies and datastores are branches of the file. Each
// operation holds the file's lock; a change is one Write().
#ifndef SRC_CONFIGFILE_BACKEND_H_
#define SRC_CONFIGFILE_BACKEND_H_

#include "api/backend.h"

namespace TavQuor::ConfigFileBackend {

extern const Backend kBackend;

}  // namespace TavQuor::ConfigFileBackend

#endif  // SRC_CONFIGFILE_BACKEND_H_
