// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "catalogue/text/suggestion.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "catalogue/text/terminal_text.h"

namespace Quorctl {
namespace {

constexpr std::size_t kLongestWord = 40;
constexpr std::size_t kNear = 2;

// Edit distance: how many bytes to insert, delete or replace.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row.back();
}

}  // namespace

std::string DidYouMean(const std::string& word, const std::vector<std::string>& known) {
  if (word.size() < 2 || word.size() > kLongestWord) return "";
  std::size_t least = std::min(kNear, word.size() - 1) + 1;
  std::string nearest;
  for (const std::string& candidate : known) {
    const bool begins = word.size() > 2 && candidate.compare(0, word.size(), word) == 0;
    const std::size_t distance = begins ? 0 : Distance(word, candidate);
    if (distance >= least) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest.empty() ? "" : "; did you mean " + Quoted(nearest) + '?';
}

}  // namespace Quorctl
