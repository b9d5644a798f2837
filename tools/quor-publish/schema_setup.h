// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The tables of the centre: made, brought up to date, and kept small.
#ifndef TOOLS_QUOR_PUBLISH_SCHEMA_SETUP_H_
#define TOOLS_QUOR_PUBLISH_SCHEMA_SETUP_H_

#include "answer.h"
#include "centre.h"

namespace QuorPublish {

// Makes the missing versions of the schema, each in a transaction. Raises CommandError if the
// tables are of a later version than this program knows.
void SetUpSchema(const CentreOptions& options, Answer* answer);

// Deletes the releases older than the newest `keep`, except those that a channel or a host has.
void Retain(const CentreOptions& options, int keep, Answer* answer);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_SCHEMA_SETUP_H_
