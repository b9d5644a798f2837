// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The difference of two catalogues as lines for people.
#ifndef TOOLS_QUOR_AGENT_DIFFERENCE_TEXT_H_
#define TOOLS_QUOR_AGENT_DIFFERENCE_TEXT_H_

#include <string>

#include "catalogue/catalogue.h"

namespace QuorAgent {

// One line per record: "delete policy "Gold" (id-1)", "change datastore "ds:///a/": namespace".
// Empty if nothing differs.
std::string DifferenceAsText(const Quorctl::Catalogue& before, const Quorctl::Catalogue& after);

}  // namespace QuorAgent

#endif  // TOOLS_QUOR_AGENT_DIFFERENCE_TEXT_H_
