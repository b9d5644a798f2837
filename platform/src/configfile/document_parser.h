// JSON text to a tree.
#ifndef PLATFORM_SRC_CONFIGFILE_DOCUMENT_PARSER_H_
#define PLATFORM_SRC_CONFIGFILE_DOCUMENT_PARSER_H_

#include <memory>
#include <string>

#include "configfile/node.h"

namespace ZynCtl::Config {

// Deeper documents are refused: nothing on a host nests like that, and recursion must end.
inline constexpr int kDeepestNesting = 200;

// Raises ConfigFileException that names `path`, line, column and reason when the text is no JSON
// object, holds a key twice in one object, or nests too deeply.
std::shared_ptr<Node> ParseDocument(const std::string& text, const std::string& path);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_PARSER_H_
