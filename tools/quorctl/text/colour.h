// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Colour on a terminal.
#ifndef TOOLS_QUORCTL_TEXT_COLOUR_H_
#define TOOLS_QUORCTL_TEXT_COLOUR_H_

#include <string>

namespace Quorctl {

enum class Colour { kNone, kBold, kRed, kGreen, kYellow };

// True when standard output is a terminal that shows colours and the environment does not ask for
// none: NO_COLOR is unset or empty, TERM is set and not "dumb".
bool StandardOutputTakesColour();

// The text with the marks that switch the colour on before it and off behind it. The text must be
// safe on a terminal already.
std::string Coloured(const std::string& text, Colour colour);

}  // namespace Quorctl

#endif  // TOOLS_QUORCTL_TEXT_COLOUR_H_
