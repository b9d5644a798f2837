// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// JSON text to a tree.
#ifndef PLATFORM_SRC_CONFIGFILE_DOCUMENT_PARSER_H_
#define PLATFORM_SRC_CONFIGFILE_DOCUMENT_PARSER_H_

#include <cstddef>
#include <memory>
#include <string>

#include "configfile/node.h"

namespace ZynCtl::Config {

// Deeper documents are refused: nothing on a host nests like that, and recursion must end.
inline constexpr std::size_t kDeepestNesting = 200;

// Larger documents are neither written nor read. Base64 of blobs makes a third more of them.
inline constexpr std::size_t kLargestDocument = std::size_t{1} << 30;

// So many bytes behind the text can be read, and mean nothing.
inline constexpr std::size_t kTextPadding = 64;

// The root of the tree, which is made in the store. The tree refers to the text, which the store
// keeps: `size` bytes, and the padding. Raises ConfigFileException that names `path`, line, column
// and reason when the text is no JSON object, holds a key twice in one object, or nests too deeply.
Node* ParseDocument(std::unique_ptr<char[]> text, std::size_t size, const std::string& path,
                    TreeStore* store);

// Makes the parsers, and what their library makes on first use; called when the platform is loaded.
void PrepareParser();

}  // namespace ZynCtl::Config

#endif  // PLATFORM_SRC_CONFIGFILE_DOCUMENT_PARSER_H_
