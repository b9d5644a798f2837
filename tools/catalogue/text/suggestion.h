// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Suggests a known word for a mistyped one.
#ifndef TOOLS_CATALOGUE_TEXT_SUGGESTION_H_
#define TOOLS_CATALOGUE_TEXT_SUGGESTION_H_

#include <string>
#include <vector>

namespace Quorctl {

// `; did you mean "list"?` with the known word that is nearest; empty where none is near: it begins
// with the other, or at most two bytes are to be typed, left out or exchanged.
std::string DidYouMean(const std::string& word, const std::vector<std::string>& known);

}  // namespace Quorctl

#endif  // TOOLS_CATALOGUE_TEXT_SUGGESTION_H_
