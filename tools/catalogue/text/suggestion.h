// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Suggests a known word for a mistyped one.
#ifndef TOOLS_CATALOGUE_TEXT_SUGGESTION_H_
#define TOOLS_CATALOGUE_TEXT_SUGGESTION_H_

#include <string>
#include <vector>

namespace Quorctl {

// Returns `; did you mean "list"?` with the nearest known word. Empty if none is near: near is a
// word that begins with the other, or at most two edits away.
std::string DidYouMean(const std::string& word, const std::vector<std::string>& known);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_TEXT_SUGGESTION_H_
