// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The SQL statements that make the schema of the centre, by version.
#ifndef TOOLS_FLEET_SCHEMA_H_
#define TOOLS_FLEET_SCHEMA_H_

#include <vector>

namespace QuorFleet {

struct Migration {
  int version;
  const char* name;        // of the file under tools/fleet/sql
  const char* statements;  // to be executed in one transaction; they record the version
};

// In ascending order of version, from 1 without gaps.
const std::vector<Migration>& Migrations();

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_SCHEMA_H_
