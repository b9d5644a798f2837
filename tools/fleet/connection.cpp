// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/connection.h"

#include <libpq-fe.h>
#include <poll.h>

#include <cerrno>
#include <climits>
#include <string_view>
#include <system_error>
#include <utility>

#include "fleet/fleet_error.h"

namespace QuorFleet {
namespace {

// Settings that the connection string may override: a connection ends after four seconds of
// silence.
constexpr std::pair<const char*, const char*> kDefaults[] = {
    {"keepalives", "1"},       {"keepalives_idle", "2"},     {"keepalives_interval", "1"},
    {"keepalives_count", "2"}, {"tcp_user_timeout", "4000"}, {"client_encoding", "UTF8"},
};

// libpq's messages have several lines; those after the first explain it.
std::string OnOneLine(const char* message) {
  std::string line;
  for (std::string_view rest = message; !rest.empty();) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view part = rest.substr(0, end);
    const std::size_t begin = std::min(part.find_first_not_of(" \t"), part.size());
    if (begin < part.size()) line += (line.empty() ? "" : ": ") + std::string(part.substr(begin));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return line.empty() ? "no reason is known" : line;
}

std::string FieldOf(const PGresult* result, int field) {
  const char* const text = PQresultErrorField(result, field);
  return text ? text : "";
}

bool IsDenied(const std::string& sqlState) {
  return sqlState == "42501" || sqlState.starts_with("28");
}

std::string AdviceFor(const std::string& sqlState) {
  if (sqlState == "3F000" || sqlState == "42P01" || sqlState == "42883") {
    return "make the tables of the centre, or bring them up to date, with \"quor-publish init\"";
  }
  if (sqlState == "25006") return "name the primary, or add target_session_attrs=read-write";
  if (IsDenied(sqlState)) return "grant the role quor_publisher, quor_host or quor_viewer";
  return "";
}

struct FreeMemory {
  void operator()(PGresult* result) const { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, FreeMemory>;

void RaiseIfRefused(const PGresult* result, const std::string& server) {
  const ExecStatusType status = PQresultStatus(result);
  if (status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK || status == PGRES_EMPTY_QUERY)
    return;
  const std::string sqlState = FieldOf(result, PG_DIAG_SQLSTATE);
  std::string advice = AdviceFor(sqlState);
  if (advice.empty()) advice = FieldOf(result, PG_DIAG_MESSAGE_HINT);
  throw FleetError(IsDenied(sqlState) ? FleetProblem::kDenied : FleetProblem::kRefused, server,
                   FieldOf(result, PG_DIAG_MESSAGE_PRIMARY), advice, sqlState);
}

}  // namespace

Rows::Rows(pg_result* result) : result_(result, PQclear) {}

std::size_t Rows::size() const {
  return static_cast<std::size_t>(PQntuples(result_.get()));
}

bool Rows::IsNull(std::size_t row, std::size_t column) const {
  return PQgetisnull(result_.get(), static_cast<int>(row), static_cast<int>(column)) == 1;
}

std::string Rows::Text(std::size_t row, std::size_t column) const {
  const int r = static_cast<int>(row);
  const int c = static_cast<int>(column);
  const char* const bytes = PQgetvalue(result_.get(), r, c);
  if (!bytes) return "";
  return {bytes, static_cast<std::size_t>(PQgetlength(result_.get(), r, c))};
}

std::int64_t Rows::Number(std::size_t row, std::size_t column) const {
  return IsNull(row, column) ? 0 : std::stoll(Text(row, column));
}

std::optional<std::int64_t> Rows::OptionalNumber(std::size_t row, std::size_t column) const {
  if (IsNull(row, column)) return std::nullopt;
  return Number(row, column);
}

bool Rows::IsTrue(std::size_t row, std::size_t column) const {
  return Text(row, column) == "t";
}

std::size_t Rows::RowsTouched() const {
  const std::string count = PQcmdTuples(result_.get());
  return count.empty() ? 0 : std::stoul(count);
}

void Connection::Finish::operator()(pg_conn* connection) const {
  PQfinish(connection);
}

Connection::Connection(const ConnectionOptions& options, Deadline deadline)
    : stop_(options.stop), warnings_(std::make_unique<std::vector<std::string>>()) {
  const std::vector<ConnectionWords> servers = ServersOf(options.connectionString);
  for (const ConnectionWords& words : servers) {
    if (TryServer(words, options, deadline)) return;
  }
  // As libpq does for prefer-standby: a second round over the servers accepts any of them.
  for (ConnectionWords words : servers) {
    if (words["target_session_attrs"] != "prefer-standby") break;
    words["target_session_attrs"] = "any";
    if (TryServer(words, options, deadline)) return;
  }
  throw FleetError(denied_ ? FleetProblem::kDenied : FleetProblem::kUnreachable, "",
                   "no connection to the centre: " + problems_,
                   "look at the connection string and whether a server of it is running");
}

bool Connection::TryServer(const ConnectionWords& words, const ConnectionOptions& options,
                           Deadline deadline) {
  ConnectionWords all(std::begin(kDefaults), std::end(kDefaults));
  all["application_name"] = options.programName;
  for (const auto& [keyword, value] : words)
    all[keyword] = value;
  // libpq reports its default as if the string had asked for it.
  if (options.takesChanges && all["target_session_attrs"] == "any") {
    all["target_session_attrs"] = "read-write";
  }
  if (all["target_session_attrs"] == "prefer-standby") all["target_session_attrs"] = "standby";
  std::vector<const char*> keywords;
  std::vector<const char*> values;
  for (const auto& [keyword, value] : all) {
    keywords.push_back(keyword.c_str());
    values.push_back(value.c_str());
  }
  keywords.push_back(nullptr);
  values.push_back(nullptr);
  const std::string name = ServerName(words);
  const auto note = [&](const std::string& problem) {
    problems_ += (problems_.empty() ? "" : "; ") + name + ": " + problem;
    connection_.reset();
    return false;
  };
  connection_.reset(PQconnectStartParams(keywords.data(), values.data(), 0));
  if (!connection_) return note("out of memory");
  PQsetNoticeReceiver(connection_.get(), KeepWarning, warnings_.get());
  try {
    if (Poll(deadline.Within(options.perServer))) {
      server_ = name;
      return true;
    }
  } catch (const FleetError& failure) {
    return note(failure.reason());
  }
  const std::string problem = OnOneLine(PQerrorMessage(connection_.get()));
  // libpq gives no error code for a connection that failed to open, so the message is searched.
  denied_ = denied_ || problem.find("authentication failed") != std::string::npos ||
            problem.find("no pg_hba.conf entry") != std::string::npos ||
            problem.find("permission denied for database") != std::string::npos;
  return note(problem);
}

// Returns false if the server refuses the connection.
bool Connection::Poll(Deadline deadline) {
  PostgresPollingStatusType status = PGRES_POLLING_WRITING;
  if (PQstatus(connection_.get()) == CONNECTION_BAD) return false;
  while (status != PGRES_POLLING_OK) {
    if (status == PGRES_POLLING_FAILED) return false;
    WaitForSocket(status == PGRES_POLLING_WRITING, deadline);
    status = PQconnectPoll(connection_.get());
  }
  return PQsetnonblocking(connection_.get(), 1) == 0;
}

void Connection::WaitForSocket(bool toWrite, Deadline deadline) {
  pollfd wanted[] = {{PQsocket(connection_.get()), POLLIN, 0}, {stop_, POLLIN, 0}};
  if (toWrite) wanted[0].events |= POLLOUT;
  for (;;) {
    const auto left = std::min<long long>(deadline.Remaining().count(), INT_MAX);
    const int count = poll(wanted, std::size(wanted), static_cast<int>(left));
    if (wanted[1].revents != 0) {
      connection_.reset();
      throw FleetError(FleetProblem::kTimeout, server_,
                       "the wait for the answer was ended by a signal", "");
    }
    if (count > 0) return;
    if (count < 0 && errno == EINTR) continue;
    const int error = count < 0 ? errno : 0;
    if (error != 0) {
      throw FleetError(FleetProblem::kLost, server_,
                       "cannot wait for the answer: " + std::generic_category().message(error), "");
    }
    connection_.reset();  // what comes now would be the answer to another question
    throw FleetError(FleetProblem::kTimeout, server_, "no answer before the deadline",
                     "look at the server's load and at the network");
  }
}

void Connection::RaiseLost() {
  const std::string reason = OnOneLine(PQerrorMessage(connection_.get()));
  connection_.reset();
  throw FleetError(FleetProblem::kLost, server_, reason, "look whether the server is running");
}

Rows Connection::Query(const std::string& statement, const std::vector<Parameter>& parameters,
                       Deadline deadline, RowFormat format) {
  if (!connection_) {
    throw FleetError(FleetProblem::kLost, server_, "the connection was lost before",
                     "connect again");
  }
  std::vector<const char*> values;
  std::vector<int> lengths;
  std::vector<int> formats;
  std::vector<Oid> types;
  constexpr Oid kBytea = 17;
  for (const Parameter& parameter : parameters) {
    values.push_back(parameter.bytes ? parameter.bytes->data() : nullptr);
    lengths.push_back(parameter.bytes ? static_cast<int>(parameter.bytes->size()) : 0);
    formats.push_back(parameter.isRaw ? 1 : 0);
    types.push_back(parameter.isRaw ? kBytea : 0);
  }
  const bool isPlain = parameters.empty() && format == RowFormat::kText;
  const int sent = isPlain ? PQsendQuery(connection_.get(), statement.c_str())
                           : PQsendQueryParams(connection_.get(), statement.c_str(),
                                               static_cast<int>(values.size()), types.data(),
                                               values.data(), lengths.data(), formats.data(),
                                               format == RowFormat::kRaw ? 1 : 0);
  if (sent == 0) RaiseLost();
  for (int left = PQflush(connection_.get()); left != 0; left = PQflush(connection_.get())) {
    if (left < 0) RaiseLost();
    WaitForSocket(/*toWrite=*/true, deadline);
    if (PQconsumeInput(connection_.get()) == 0) RaiseLost();
  }
  Result last;
  Result refusal;
  for (;;) {
    while (PQisBusy(connection_.get()) == 1) {
      WaitForSocket(/*toWrite=*/false, deadline);
      if (PQconsumeInput(connection_.get()) == 0) RaiseLost();
    }
    Result result(PQgetResult(connection_.get()));
    if (!result) break;
    if (PQresultStatus(result.get()) == PGRES_FATAL_ERROR && !refusal) {
      refusal = std::move(result);
    } else {
      last = std::move(result);
    }
  }
  if (PQstatus(connection_.get()) == CONNECTION_BAD) RaiseLost();
  if (refusal) RaiseIfRefused(refusal.get(), server_);
  RaiseIfRefused(last.get(), server_);
  return Rows(last.release());
}

bool Connection::IsUsable() const {
  return connection_ && PQstatus(connection_.get()) == CONNECTION_OK;
}

std::vector<std::string> Connection::TakeWarnings() {
  return std::exchange(*warnings_, {});
}

void Connection::KeepWarning(void* warnings, const pg_result* notice) {
  if (FieldOf(notice, PG_DIAG_SEVERITY_NONLOCALIZED) != "WARNING") return;
  static_cast<std::vector<std::string>*>(warnings)->push_back(
      FieldOf(notice, PG_DIAG_MESSAGE_PRIMARY));
}

}  // namespace QuorFleet
