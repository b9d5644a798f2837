// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "text/colour.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace Quorctl {
namespace {

constexpr char kReset[] = "\x1b[0m";

std::string_view Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

const char* SwitchOn(Colour colour) {
  switch (colour) {
    case Colour::kBold:
      return "\x1b[1m";
    case Colour::kRed:
      return "\x1b[31m";
    case Colour::kGreen:
      return "\x1b[32m";
    case Colour::kYellow:
      return "\x1b[33m";
    case Colour::kNone:
      break;
  }
  return "";
}

}  // namespace

bool StandardOutputTakesColour() {
  const std::string_view terminal = Environment("TERM");
  return isatty(STDOUT_FILENO) && Environment("NO_COLOR").empty() && !terminal.empty() &&
         terminal != "dumb";
}

std::string Coloured(const std::string& text, Colour colour) {
  if (colour == Colour::kNone || text.empty()) return text;
  return SwitchOn(colour) + text + kReset;
}

}  // namespace Quorctl
