// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// JSON text to a tree, refusing what a catalogue must not contain whatever its shape.
#ifndef TOOLS_CATALOGUE_JSON_TREE_H_
#define TOOLS_CATALOGUE_JSON_TREE_H_

#include <cstddef>
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
nlohmann::json ParseJson(const std::string& text, const std::string& source,
                         std::map<std::string, std::size_t>* lines = nullptr);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_JSON_TREE_H_
