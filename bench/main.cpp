// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Measures the library over both of its stores, and beside it what a user would pick instead. To be
// run by scripts/bench, which makes tables and plots of the numbers.
#include <exception>
#include <iostream>

#include "optimisation.h"
#include "parts.h"

int main(int argc, char** argv) try {
  if (!Bench::IsOptimised()) {
    std::cerr << "store_benchmark: refused: built without optimisation or with sanitizers; its "
                 "numbers would mean nothing\n";
    return 3;
  }
  return Bench::RunPart(argc, argv);
} catch (const std::exception& error) {
  std::cerr << "store_benchmark: " << error.what() << '\n';
  return 1;
}
