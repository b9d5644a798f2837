// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "schema_setup.h"

#include <algorithm>
#include <string>

#include "fleet/schema.h"

namespace QuorPublish {
namespace {

int VersionOf(Centre& centre) {
  if (centre.Ask("select to_regclass('quor.schema_version')").IsNull(0, 0)) return 0;
  return static_cast<int>(centre.Ask("select max(version) from quor.schema_version").Number(0, 0));
}

// Tables that were dropped are not made again: what was in them is in a backup.
void ExpectAllTables(Centre& centre, int version) {
  const QuorFleet::Rows missing = centre.Ask(
      "select 'quor.' || name from unnest(array['release', 'channel', 'host', 'host_status', "
      "'event']) name where to_regclass('quor.' || name) is null");
  if (missing.size() == 0) return;
  throw CommandError(ExitStatus::kStore,
                     "centre " + centre.server() + ": its tables have version " +
                         std::to_string(version) + ", and " + missing.Text(0, 0) +
                         " is missing; restore the database from a backup, or drop the schema "
                         "quor and begin anew");
}

}  // namespace

void SetUpSchema(const CentreOptions& options, Answer* answer) {
  // The check for a standby is one of the functions that are made here.
  CentreOptions alone = options;
  alone.noStandby = true;
  Centre centre(alone, Centre::Use::kChange);
  const int newest = QuorFleet::Migrations().back().version;
  int version = VersionOf(centre);
  if (version > newest) {
    throw CommandError(ExitStatus::kStore, "centre " + centre.server() +
                                               ": its tables have version " +
                                               std::to_string(version) + ", this program knows " +
                                               std::to_string(newest) +
                                               "; nothing was changed; use a later quor-publish");
  }
  if (version > 0) ExpectAllTables(centre, version);
  if (version == newest) {
    answer->text +=
        "the tables of the centre have version " + std::to_string(version) + " already\n";
    return;
  }
  for (const QuorFleet::Migration& migration : QuorFleet::Migrations()) {
    if (migration.version <= version) continue;
    centre.progress().Begin(std::string("executing ") + migration.name);
    centre.Change("version " + std::to_string(migration.version) + " of the tables",
                  [&] { centre.Ask(migration.statements); });
  }
  version = VersionOf(centre);
  answer->text +=
      "the tables of the centre have version " + std::to_string(version) +
      " in the schema quor; grant quor_publisher to who publishes, quor_viewer to who looks\n";
}

void Retain(const CentreOptions& options, int keep, Answer* answer) {
  if (keep < 1) throw UsageError("--keep: at least the newest release is kept");
  Centre centre(options, Centre::Use::kChange);
  std::int64_t deleted = 0;
  centre.progress().Begin("deleting old releases");
  centre.Change("the deletion", [&] {
    deleted = centre.Ask("select quor.retain($1::integer)", {std::int64_t{keep}}).Number(0, 0);
  });
  const auto left = centre.Ask("select count(*) from quor.release").Number(0, 0);
  answer->text += "deleted " + std::to_string(deleted) +
                  (deleted == 1 ? " release, " : " releases, ") + std::to_string(left) +
                  " are left\n";
}

}  // namespace QuorPublish
