// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "options.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

namespace Bench {
namespace {

std::size_t Number(std::string_view text, const std::string& argument) {
  std::size_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stopped != end || number == 0) {
    throw std::invalid_argument("no number above 0: " + argument);
  }
  return number;
}

}  // namespace

Options ReadOptions(const std::vector<std::string>& arguments) {
  Options options;
  options.directory = BENCH_DATA_DIRECTORY;
  for (const std::string& argument : arguments) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
    if (name == "--policies") {
      options.size.policies = Number(value, argument);
    } else if (name == "--blobs") {
      options.size.blobsPerPolicy = Number(value, argument);
    } else if (name == "--blob-size") {
      options.size.blobSize = Number(value, argument);
    } else if (name == "--datastores") {
      options.size.datastoresPerPolicy = Number(value, argument);
    } else if (name == "--rounds") {
      options.rounds = Number(value, argument);
    } else if (name == "--directory" && !value.empty()) {
      options.directory = value;
    } else if (name == "--output" && !value.empty()) {
      options.output = value;
    } else {
      throw std::invalid_argument("cannot use " + argument);
    }
  }
  return options;
}

}  // namespace Bench
