// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A connection string taken apart into one set of words for each server that it names.
#ifndef TOOLS_FLEET_CONNECTION_WORDS_H_
#define TOOLS_FLEET_CONNECTION_WORDS_H_

#include <map>
#include <string>
#include <vector>

namespace QuorFleet {

using ConnectionWords =
    std::map<std::string, std::string>;  // keyword -> value, as libpq knows them

// In the order given. libpq's own way through a list of servers waits at one that accepts and does
// not answer; a caller that tries one after the other gives each its deadline. The environment
// (PGHOST, PGSERVICE, ...) is read as libpq does; servers in a service file stay one set, libpq's.
// Raises FleetError (kSettings) for a string that is none.
std::vector<ConnectionWords> ServersOf(const std::string& connectionString);

// "db1:5432", for messages.
std::string ServerName(const ConnectionWords& words);

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_CONNECTION_WORDS_H_
