// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the configuration-file library raises.
#ifndef ZYNCTL_EXCEPTION_H_
#define ZYNCTL_EXCEPTION_H_

#include "brisk/exception.h"

namespace ZynCtl {
namespace Config {

// The message names the file, the place in it (line and column of a text that does not parse, the
// path of a value that is of the wrong type), the reason and what to do.
class PLATFORM_API ConfigFileException : public Brisk::Lib::BriskException {
 public:
  // With a message for a person.
  explicit ConfigFileException(const char* message);
  ConfigFileException(const ConfigFileException&) = default;
  ConfigFileException& operator=(const ConfigFileException&) = default;
  ~ConfigFileException() override;
};

}  // namespace Config
}  // namespace ZynCtl

#endif  // ZYNCTL_EXCEPTION_H_
