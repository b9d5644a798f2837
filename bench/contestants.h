// What is measured: one workload, loaded into host directories and into SQLite databases.
#ifndef BENCH_CONTESTANTS_H_
#define BENCH_CONTESTANTS_H_

#include <string>
#include <utility>

#include "sqlite_catalogue.h"
#include "workload.h"

namespace Bench {

// The switch that chooses the configuration store; clear, it chooses the configuration file.
inline constexpr int kStoreSwitch = 62;

// Replacements have a directory and a database of their own, so that what they leave behind (a long
// log, say) does not depend on the order of the measurements and slows no lookup down.
struct Contestants {
  // Loads `workload` everywhere below `directory`, and raises std::runtime_error when the two do
  // not give the same answers: times mean nothing then.
  Contestants(Workload workload, const std::string& directory);

  Workload workload;
  std::string host, hostCopy, hostWritten;
  std::string databasePath;
  SqliteCatalogue database;
  SqliteCatalogue databaseWritten;
};

// What QuorLib::GetDbHash() answers, of records that another store lists.
std::pair<std::string, std::string> DbHashOf(const Policies& policies,
                                             const Datastores& datastores);

}  // namespace Bench

#endif  // BENCH_CONTESTANTS_H_
