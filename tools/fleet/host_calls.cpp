// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "fleet/host_calls.h"

namespace QuorFleet {

std::optional<ReleaseHead> FetchHead(Connection& connection, Deadline deadline) {
  const Rows rows = connection.Query(
      "select host, channel, release, sha256, may_empty, may_shrink, paused, bytes "
      "from quor.head()",
      {}, deadline);
  if (rows.size() == 0) return std::nullopt;
  ReleaseHead head;
  head.host = rows.Text(0, 0);
  head.channel = rows.Text(0, 1);
  head.release = rows.OptionalNumber(0, 2);
  head.sha256 = rows.Text(0, 3);
  head.mayEmpty = rows.IsTrue(0, 4);
  head.mayShrink = rows.IsTrue(0, 5);
  head.paused = rows.IsTrue(0, 6);
  head.bytes = rows.Number(0, 7);
  return head;
}

std::optional<ReleaseDocument> FetchDocument(Connection& connection, std::int64_t release,
                                             Deadline deadline) {
  const Rows rows =
      connection.Query("select document, sha256, signature from quor.document($1::bigint)",
                       {release}, deadline, RowFormat::kRaw);
  if (rows.size() == 0) return std::nullopt;
  return ReleaseDocument{rows.Text(0, 0), rows.Text(0, 1), rows.Text(0, 2)};
}

const char* StateWord(HostState state) {
  switch (state) {
    case HostState::kApplied:
      return "applied";
    case HostState::kRefused:
      return "refused";
    case HostState::kHeld:
      return "held";
    case HostState::kDrift:
      return "drift";
    case HostState::kFailed:
      break;
  }
  return "failed";
}

void SendReport(Connection& connection, const HostReport& report, Deadline deadline) {
  connection.Query(
      "select quor.report($1::bigint, $2::text, $3::text, $4::text, $5::text, "
      "$6::text, $7::text)",
      {report.release ? Parameter(*report.release) : Parameter(), report.sha256,
       report.policiesDigest, report.datastoresDigest, StateWord(report.state), report.reason,
       report.agentVersion},
      deadline);
}

}  // namespace QuorFleet
