// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "samples.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "run_description.h"

namespace Bench {

void Samples::Write(const Options& options) const {
  nlohmann::json rows = nlohmann::json::array();
  for (const auto& [key, values] : rows_) {
    rows.push_back({{"case", key.first}, {"contestant", key.second}, {"values", values}});
  }
  const nlohmann::json document = {{"context", DescribeRun(options.size)}, {"samples", rows}};
  std::ofstream output(options.output);
  output << document.dump(1) << '\n';
  output.close();
  if (!output) throw std::runtime_error("cannot write " + options.output);
}

}  // namespace Bench
