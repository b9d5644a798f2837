#include "zynctl/exception.h"

namespace ZynCtl::Config {

ConfigFileException::ConfigFileException(const char* message) : BriskException(message) {}

ConfigFileException::~ConfigFileException() = default;

}  // namespace ZynCtl::Config
