// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The state of the fleet as a page for a browser.
#ifndef TOOLS_QUOR_PUBLISH_STATUS_PAGE_H_
#define TOOLS_QUOR_PUBLISH_STATUS_PAGE_H_

#include <string>

#include "fleet_status.h"

namespace QuorPublish {

// The page of status_page.html, with the data of AsJson() in its place.
extern const char kStatusPage[];

// A single file that needs no other file and no network. Text from hosts and authors is shown as
// text only.
std::string StatusAsPage(const FleetStatus& status);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_STATUS_PAGE_H_
