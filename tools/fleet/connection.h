// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A connection to the centre on which nothing waits longer than it was given.
//
//   Connection connection({"host=db1,db2 dbname=quor", "quor-agent"}, Deadline::In(10s));
//   const Rows rows = connection.Query("select release from quor.head()", {}, cycle.Within(5s));
//
// Several servers are tried in turn, each with its own deadline. Keepalives and tcp_user_timeout of
// four seconds end a connection whose peer is gone. What the name service takes is not bounded:
// libpq has no way to ask it without waiting; addresses (hostaddr=) avoid it.
#ifndef TOOLS_FLEET_CONNECTION_H_
#define TOOLS_FLEET_CONNECTION_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fleet/connection_words.h"
#include "fleet/deadline.h"

// libpq's types; only the sources need its header.
struct pg_conn;
struct pg_result;

namespace QuorFleet {

// A parameter of a statement; no value is null.
struct Parameter {
  Parameter() = default;
  Parameter(std::string text) : bytes(std::move(text)) {}            // NOLINT
  Parameter(const char* text) : bytes(text) {}                       // NOLINT
  Parameter(std::int64_t number) : bytes(std::to_string(number)) {}  // NOLINT
  Parameter(bool value) : bytes(value ? "t" : "f") {}                // NOLINT

  // Of type bytea.
  static Parameter Bytes(std::string raw) {
    Parameter parameter(std::move(raw));
    parameter.isRaw = true;
    return parameter;
  }

  std::optional<std::string> bytes;
  bool isRaw = false;
};

// The result of one statement. Rows and columns are counted from 0.
class Rows {
 public:
  explicit Rows(pg_result* result);

  std::size_t size() const;
  bool IsNull(std::size_t row, std::size_t column) const;
  std::string Text(std::size_t row, std::size_t column) const;  // of null the empty text
  std::int64_t Number(std::size_t row, std::size_t column) const;
  std::optional<std::int64_t> OptionalNumber(std::size_t row, std::size_t column) const;
  bool IsTrue(std::size_t row, std::size_t column) const;
  std::size_t RowsTouched() const;  // by insert, update or delete

 private:
  std::shared_ptr<pg_result> result_;
};

enum class RowFormat {
  kText,
  kRaw,  // text and bytea are their bytes; numbers and booleans cannot be read from it
};

struct ConnectionOptions {
  std::string connectionString;  // as libpq knows it; what is not in it comes from the environment
  std::string programName;       // shown by the server as application_name
  std::chrono::milliseconds perServer = std::chrono::seconds(5);
  bool takesChanges = false;  // a standby will not do, unless the string asks for one
  int stop =
      -1;  // a descriptor: once it is readable, whatever is waited for ends as at its deadline
};

class Connection {
 public:
  // Raises FleetError if no server accepts this role before the deadline; the message names each
  // server and its reason.
  Connection(const ConnectionOptions& options, Deadline deadline);

  // Executes one statement; without parameters, several, and returns the rows of the last one.
  // Raises FleetError. After kTimeout and kLost the connection is unusable.
  Rows Query(const std::string& statement, const std::vector<Parameter>& parameters,
             Deadline deadline, RowFormat format = RowFormat::kText);

  bool IsUsable() const;

  // "db1:5432", for messages.
  const std::string& server() const { return server_; }

  // The server's warnings since the last call of this function.
  std::vector<std::string> TakeWarnings();

 private:
  struct Finish {
    void operator()(pg_conn* connection) const;
  };

  bool TryServer(const ConnectionWords& words, const ConnectionOptions& options, Deadline deadline);
  bool Poll(Deadline deadline);
  void WaitForSocket(bool toWrite, Deadline deadline);
  [[noreturn]] void RaiseLost();
  static void KeepWarning(void* warnings, const pg_result* notice);

  std::unique_ptr<pg_conn, Finish> connection_;
  const int stop_;
  std::string server_;
  std::string problems_;  // of the servers that were tried
  bool denied_ = false;   // one of them answered, and does not let this role in
  std::unique_ptr<std::vector<std::string>> warnings_;
};

}  // namespace QuorFleet

#endif  // TOOLS_FLEET_CONNECTION_H_
