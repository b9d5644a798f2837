// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A tree to JSON text.
#ifndef PLATFORM_SRC_CONFIGFILE_DOCUMENT_WRITER_H_
#define PLATFORM_SRC_CONFIGFILE_DOCUMENT_WRITER_H_

#include <functional>
#include <string_view>

#include "configfile/node.h"

namespace ZynCtl::Config {

// Indented by two spaces, in the order of the tree, ending with a newline; `take` gets it piece by
// piece. Raises ConfigFileException when it nests more deeply than can be read.
void WriteDocument(const Node& root, const std::function<void(std::string_view)>& take);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_WRITER_H_
