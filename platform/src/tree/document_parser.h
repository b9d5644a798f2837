// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Parser of the configuration file: JSON text to a tree.
#ifndef PLATFORM_SRC_TREE_DOCUMENT_PARSER_H_
#define PLATFORM_SRC_TREE_DOCUMENT_PARSER_H_

#include <cstddef>
#include <memory>
#include <string>

#include "tree/node.h"

namespace ZynCtl::Config {

// Limit of nesting, which bounds the recursion of those who walk the tree.
inline constexpr std::size_t kDeepestNesting = 200;

// Limit of the text's size, for reading and writing. Base64 enlarges blobs by a third.
inline constexpr std::size_t kLargestDocument = std::size_t{1} << 30;

// Zero bytes after the text.
inline constexpr std::size_t kTextPadding = 1;

// Returns the root of the tree, allocated in `store`. The tree refers to the text (`size` bytes and
// the padding), which the store takes over and in which escapes are replaced. Raises
// ConfigFileException with `path`, line, column and reason if the text is not a JSON object,
// repeats a key in an object, or nests too deeply.
Node* ParseDocument(std::unique_ptr<char[]> text, std::size_t size, const std::string& path,
                    TreeStore* store);

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_TREE_DOCUMENT_PARSER_H_
