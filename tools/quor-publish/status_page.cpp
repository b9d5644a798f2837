// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "status_page.h"

#include <string_view>

namespace QuorPublish {
namespace {

constexpr std::string_view kPlaceOfData = "/*data*/null";

// Nothing in the data ends the element that it stands in.
std::string ForScript(const std::string& json) {
  std::string text;
  for (const char c : json) {
    if (c == '<') {
      text += "\\u003c";
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace

std::string StatusAsPage(const FleetStatus& status) {
  std::string page = kStatusPage;
  const std::string data = AsJson(status).dump(-1, ' ', /*ensure_ascii=*/true);
  page.replace(page.find(kPlaceOfData), kPlaceOfData.size(), ForScript(data));
  return page;
}

}  // namespace QuorPublish
