// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "release_store.h"

#include "answer.h"
#include "catalogue/text/terminal_text.h"
#include "fleet/release.h"

namespace QuorPublish {
namespace {

constexpr char kReleaseColumns[] =
    "select id, sha256, author, reason, to_char(at at time zone 'UTC', 'YYYY-MM-DD HH24:MI:SS') || "
    "' UTC', coalesce(parent, 0), policies, datastores, document_bytes, may_empty, may_shrink, "
    "signature is not null from quor.release ";

ReleaseRow ReleaseIn(const QuorFleet::Rows& rows, std::size_t row) {
  ReleaseRow release;
  release.id = rows.Number(row, 0);
  release.sha256 = rows.Text(row, 1);
  release.author = rows.Text(row, 2);
  release.reason = rows.Text(row, 3);
  release.at = rows.Text(row, 4);
  release.parent = rows.Number(row, 5);
  release.policies = rows.Number(row, 6);
  release.datastores = rows.Number(row, 7);
  release.bytes = rows.Number(row, 8);
  release.mayEmpty = rows.IsTrue(row, 9);
  release.mayShrink = rows.IsTrue(row, 10);
  release.isSigned = rows.IsTrue(row, 11);
  return release;
}

}  // namespace

std::vector<ReleaseRow> ListReleases(Centre& centre, int most) {
  const QuorFleet::Rows rows = centre.Ask(
      std::string(kReleaseColumns) + "order by id desc limit $1::integer", {std::int64_t{most}});
  std::vector<ReleaseRow> releases;
  for (std::size_t i = 0; i < rows.size(); ++i)
    releases.push_back(ReleaseIn(rows, i));
  return releases;
}

ReleaseRow FindRelease(Centre& centre, ReleaseId id) {
  const QuorFleet::Rows rows =
      centre.Ask(std::string(kReleaseColumns) + "where id = $1::bigint", {id});
  if (rows.size() > 0) return ReleaseIn(rows, 0);
  const std::vector<ReleaseRow> newest = ListReleases(centre, 1);
  throw CommandError(ExitStatus::kAbsent,
                     "release " + std::to_string(id) + " is not at the centre; " +
                         (newest.empty() ? "there is none yet: publish one"
                                         : "the newest is " + std::to_string(newest.front().id) +
                                               " (\"quor-publish status\" lists them)"));
}

std::vector<ChannelRow> ListChannels(Centre& centre) {
  const QuorFleet::Rows rows = centre.Ask(
      "select name, release, paused, next_release, next_below from quor.channel order by name");
  std::vector<ChannelRow> channels;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    channels.push_back({rows.Text(i, 0), rows.OptionalNumber(i, 1), rows.IsTrue(i, 2),
                        rows.OptionalNumber(i, 3), static_cast<int>(rows.Number(i, 4))});
  }
  return channels;
}

ChannelRow FindChannel(Centre& centre, const std::string& name) {
  std::string known;
  for (const ChannelRow& channel : ListChannels(centre)) {
    if (channel.name == name) return channel;
    known += (known.empty() ? "" : ", ") + channel.name;
  }
  throw CommandError(ExitStatus::kAbsent, "there is no channel " + Quorctl::Quoted(name) +
                                              "; there are: " + known +
                                              " (\"quor-publish channel add NAME\" makes another)");
}

Quorctl::Catalogue ReadRelease(Centre& centre, ReleaseId id, std::string* text) {
  centre.progress().Begin("fetching release " + std::to_string(id));
  const QuorFleet::Rows rows =
      centre.Ask("select document, sha256, signature from quor.release where id = $1::bigint", {id},
                 QuorFleet::RowFormat::kRaw);
  if (rows.size() == 0) FindRelease(centre, id);
  const QuorFleet::ReleaseDocument document{rows.Text(0, 0), rows.Text(0, 1), rows.Text(0, 2)};
  return QuorFleet::OpenRelease(id, document.sha256, document, {}, text);
}

std::string Described(const ReleaseRow& release) {
  return "release " + std::to_string(release.id) + " of " + release.author + ", " + release.at +
         ", " + Quorctl::Quoted(release.reason);
}

}  // namespace QuorPublish
