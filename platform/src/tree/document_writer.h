// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Writer of the configuration file: a tree to JSON text.
#ifndef PLATFORM_SRC_TREE_DOCUMENT_WRITER_H_
#define PLATFORM_SRC_TREE_DOCUMENT_WRITER_H_

#include <functional>
#include <string_view>

#include "tree/node.h"

namespace ZynCtl::Config {

// Passes the text to `take` in pieces: indented by two spaces, in the order of the tree, with a
// final newline. Raises ConfigFileException if the tree nests too deeply to be read again.
void WriteDocument(const Node& root, const std::function<void(std::string_view)>& take);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_TREE_DOCUMENT_WRITER_H_
