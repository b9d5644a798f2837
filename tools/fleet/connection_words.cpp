// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/connection_words.h"

#include <libpq-fe.h>

#include <algorithm>
#include <memory>

#include "fleet/fleet_error.h"

namespace QuorFleet {
namespace {

struct FreeOptions {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
using Options = std::unique_ptr<PQconninfoOption, FreeOptions>;

void AddWords(const PQconninfoOption* option, ConnectionWords* words) {
  for (; option && option->keyword; ++option) {
    if (option->val && *option->val) (*words)[option->keyword] = option->val;
  }
}

// The values of the environment (PGHOST, ...) first, then those of the string, which override them.
ConnectionWords WordsOf(const std::string& connectionString) {
  char* message = nullptr;
  const Options given(PQconninfoParse(connectionString.c_str(), &message));
  const std::string problem = message ? message : "out of memory";
  PQfreemem(message);
  if (!given) {
    throw FleetError(FleetProblem::kSettings, "",
                     "connection string: " + problem.substr(0, problem.find('\n')),
                     "write it as \"host=db1,db2 dbname=quor\" or postgresql://db1,db2/quor");
  }
  ConnectionWords words;
  const Options defaults(PQconndefaults());
  AddWords(defaults.get(), &words);
  AddWords(given.get(), &words);
  return words;
}

std::vector<std::string> Split(const std::string& list) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    parts.push_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

std::vector<std::string> ListOf(const ConnectionWords& words, const char* keyword) {
  const auto found = words.find(keyword);
  return found == words.end() ? std::vector<std::string>() : Split(found->second);
}

}  // namespace

std::vector<ConnectionWords> ServersOf(const std::string& connectionString) {
  const ConnectionWords words = WordsOf(connectionString);
  const std::vector<std::string> hosts = ListOf(words, "host");
  const std::vector<std::string> addresses = ListOf(words, "hostaddr");
  const std::vector<std::string> ports = ListOf(words, "port");
  const std::size_t count = std::max(hosts.size(), addresses.size());
  if (count < 2) return {words};
  const auto fits = [count](const std::vector<std::string>& list) {
    return list.size() < 2 || list.size() == count;
  };
  if (!fits(hosts) || !fits(addresses) || !fits(ports)) {
    throw FleetError(FleetProblem::kSettings, "",
                     "connection string: host, hostaddr and port name different numbers of servers",
                     "name as many ports as hosts, or one for all");
  }
  std::vector<ConnectionWords> servers(count, words);
  for (std::size_t i = 0; i < count; ++i) {
    const auto set = [&](const char* keyword, const std::vector<std::string>& list) {
      if (!list.empty()) servers[i][keyword] = list[list.size() == 1 ? 0 : i];
    };
    set("host", hosts);
    set("hostaddr", addresses);
    set("port", ports);
  }
  return servers;
}

std::string ServerName(const ConnectionWords& words) {
  const auto valueOf = [&words](const char* keyword) {
    const auto found = words.find(keyword);
    return found == words.end() ? std::string() : found->second;
  };
  const std::string host = valueOf("host").empty() ? valueOf("hostaddr") : valueOf("host");
  const std::string port = valueOf("port");
  return (host.empty() ? "local" : host) + ':' + (port.empty() ? "5432" : port);
}

}  // namespace QuorFleet
