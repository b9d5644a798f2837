// The way in which the configuration-file library says no.
#ifndef PLATFORM_SRC_CONFIGFILE_FAILURE_H_
#define PLATFORM_SRC_CONFIGFILE_FAILURE_H_

#include <string>

#include "zynctl/exception.h"

namespace ZynCtl::Config {

[[noreturn]] inline void RaiseConfigFile(const std::string& message) {
  throw ConfigFileException(message.c_str());
}

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_FAILURE_H_
