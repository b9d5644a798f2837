// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Parses JSON text into a tree. Refuses text that no catalogue document may be, whatever its keys.
#ifndef TOOLS_CATALOGUE_JSON_TREE_H_
#define TOOLS_CATALOGUE_JSON_TREE_H_

#include <cstddef>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

namespace Quorctl {

// Raises DocumentError for text that is not JSON (with line and column), starts with a byte-order
// mark, gives a key twice in one object, nests deeper than 16 levels, or has more than 10 million
// values. `source` names the text in messages.
//
// `lines`, when given, has paths of values ("policies[3].id") for keys; each that is there gets the
// line, counted from 1, in which its key stands, of an element its beginning.
//
// `take`, when given, is called with each element of the arrays that are members of the document,
// as soon as the element is complete. What it moves out of the tree is not held any longer, so that
// a large document is never there as a whole tree. Text behind the element may still be wrong.
using TakeElement = std::function<void(const std::string& key, std::size_t index, nlohmann::json&)>;
nlohmann::json ParseJson(const std::string& text, const std::string& source,
                         std::map<std::string, std::size_t>* lines = nullptr,
                         const TakeElement& take = nullptr);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_JSON_TREE_H_
