// A tree to JSON text.
#ifndef PLATFORM_SRC_CONFIGFILE_DOCUMENT_WRITER_H_
#define PLATFORM_SRC_CONFIGFILE_DOCUMENT_WRITER_H_

#include <string>

#include "configfile/node.h"

namespace ZynCtl::Config {

// Indented by two spaces, in the order of the tree, ending with a newline. Raises
// ConfigFileException when it nests more deeply than can be read.
// `expectedSize` is a guess that saves copies.
std::string WriteDocument(const Node& root, std::size_t expectedSize);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_WRITER_H_
