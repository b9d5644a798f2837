// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The log of all changes at the centre: when, by whom and why.
#ifndef TOOLS_QUOR_PUBLISH_EVENT_LOG_H_
#define TOOLS_QUOR_PUBLISH_EVENT_LOG_H_

#include "answer.h"
#include "centre.h"
#include "text/record_writer.h"

namespace QuorPublish {

// At most `most` entries, the newest first.
void ShowLog(const CentreOptions& options, int most, const Quorctl::RecordChoices& choices,
             Answer* answer);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_EVENT_LOG_H_
