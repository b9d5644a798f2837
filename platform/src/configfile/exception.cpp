// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "zynctl/exception.h"

namespace ZynCtl::Config {

ConfigFileException::ConfigFileException(const char* message) : BriskException(message) {}

ConfigFileException::~ConfigFileException() = default;

}  // namespace ZynCtl::Config
