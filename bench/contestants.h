// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Who is measured: one workload, in every kind of catalogue.
#ifndef BENCH_CONTESTANTS_H_
#define BENCH_CONTESTANTS_H_

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "catalogue.h"
#include "lmdb_catalogue.h"
#include "sqlite_catalogue.h"
#include "workload.h"

namespace Bench {

// Names of the contestants; they are those of the results too.
inline constexpr char kStore[] = "store";    // the library over the configuration store
inline constexpr char kFile[] = "file";      // the library over the configuration file
inline constexpr char kSqlite[] = "sqlite";  // and those who know nothing of it
inline constexpr char kLmdb[] = "lmdb";
inline constexpr char kJson[] = "json";

// From this size on one call of the JSON peer takes seconds, which tells nothing more.
inline constexpr std::size_t kTooManyForJson = 50000;
inline constexpr std::size_t kTooManyToReplaceInSqlite = 50000;

// Which of them take part with a workload of that size.
std::vector<std::string> ContestantsFor(const WorkloadSize& size);

// Where they keep their files below a directory. Both stores of the library share a host directory,
// as they do on a host.
std::string HostIn(const std::string& directory);
std::string StoredIn(const std::string& directory, const std::string& contestant);

// Opens what is below `directory`, made when it is not there.
std::unique_ptr<Catalogue> OpenCatalogue(const std::string& contestant,
                                         const std::string& directory);

// Fills it, and raises std::runtime_error when it does not answer with the workload: its times mean
// nothing then.
void Load(Catalogue* catalogue, const Workload& workload);
void RequireSameAnswers(Catalogue* catalogue, const Workload& workload);

// What QuorLib::GetDbHash() answers. Peers know nothing of digests: theirs are computed from their
// listings, by the library's own code, so that they differ by their stores alone.
std::pair<std::string, std::string> DigestsOf(Catalogue* catalogue);

// Makes and fills a catalogue of each kind below `directory`, and closes it again.
void LoadAll(const std::vector<std::string>& contestants, const std::string& directory,
             const Workload& workload);

}  // namespace Bench

#endif  // BENCH_CONTESTANTS_H_
