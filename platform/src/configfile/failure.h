// The way in which the configuration-file library says no.
#ifndef PLATFORM_SRC_CONFIGFILE_FAILURE_H_
#define PLATFORM_SRC_CONFIGFILE_FAILURE_H_

#include <string>

#include "zynctl/exception.h"

namespace ZynCtl::Config {

// Names that stand in the file enter the message, which ends on terminals: control characters are
// shown as question marks.
[[noreturn]] inline void RaiseConfigFile(std::string message) {
  for (char& c : message) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
  }
  throw ConfigFileException(message.c_str());
}

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_FAILURE_H_
