// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The state of the fleet as a page for a browser.
#ifndef TOOLS_QUOR_PUBLISH_STATUS_PAGE_H_
#define TOOLS_QUOR_PUBLISH_STATUS_PAGE_H_

#include <string>

#include "fleet_status.h"

namespace QuorPublish {

// The page of status_page.html, in which the data of AsJson() is to stand.
extern const char kStatusPage[];

// One file that needs no other and no network. Whatever a host or an author wrote is shown as text.
std::string StatusAsPage(const FleetStatus& status);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_STATUS_PAGE_H_
