// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the recording platform's getters were given, and what a test lets them answer.
#ifndef TESTS_UNIT_RECORDING_GETTERS_H_
#define TESTS_UNIT_RECORDING_GETTERS_H_

#include <functional>
#include <string>

#include "recording/platform.h"

namespace Recording {

struct Getters {
  // Runs at the end of each getter of a text, which returns what it returns; it may change the
  // text.
  std::function<bool(const std::string& line, bool found, std::string* value)> text;

  // The same of each getter of a number.
  std::function<bool(const std::string& line, bool found)> number;

  Lines notEmpty;  // calls whose output was neither empty nor 0 before
};

inline Getters getters;

inline bool Answer(const std::string& line, bool found, std::string* value) {
  return getters.text ? getters.text(line, found, value) : found;
}

inline bool Answer(const std::string& line, bool found) {
  return getters.number ? getters.number(line, found) : found;
}

}  // namespace Recording

#endif  // TESTS_UNIT_RECORDING_GETTERS_H_
