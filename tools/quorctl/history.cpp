// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "history.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>

#include "catalogue/document_error.h"
#include "catalogue/document_reader.h"
#include "catalogue/document_writer.h"
#include "exit_status.h"
#include "input_file.h"
#include "output_file.h"
#include "platform/admin.h"
#include "text/utc_time.h"

namespace Quorctl {
namespace {

constexpr char kFolder[] = "history";
constexpr char kInStore[] = "store";
constexpr char kInFile[] = "file";
constexpr char kNoDigest[] = "-";
constexpr char kPending[] = ".pending";
constexpr char kKept[] = ".kept";
constexpr std::uint64_t kNumbersEnd = std::numeric_limits<std::int64_t>::max();
constexpr std::size_t kDigestLength = 32;

std::vector<std::string> SplitAtDots(const std::string& name) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = name.find('.', begin);
    parts.push_back(name.substr(begin, end - begin));
    if (end == std::string::npos) return parts;
    begin = end + 1;
  }
}

template <typename Number>
bool ReadNumber(const std::string& text, Number* number) {
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, *number);
  return error == std::errc() && stopped == end;
}

std::string DigestFromName(const std::string& part) {
  return part == kNoDigest ? std::string() : part;
}
std::string DigestInName(const std::string& digest) {
  return digest.empty() ? kNoDigest : digest;
}

std::optional<HistoryEntry> ParseName(const std::filesystem::path& path, const std::string& name) {
  const std::vector<std::string> parts = SplitAtDots(name);
  if (parts.size() != 9 || parts[8] != "json") return std::nullopt;
  HistoryEntry entry;
  const std::optional<std::string> time = ExtendedUtcTime(parts[1]);
  const bool knownStore = parts[3] == kInStore || parts[3] == kInFile;
  if (!ReadNumber(parts[0], &entry.number) || entry.number >= kNumbersEnd || !time || !knownStore ||
      !ReadNumber(parts[4], &entry.policies) || !ReadNumber(parts[5], &entry.datastores)) {
    return std::nullopt;
  }
  entry.time = *time;
  entry.reason = parts[2];
  entry.inStore = parts[3] == kInStore;
  entry.digests = {DigestFromName(parts[6]), DigestFromName(parts[7])};
  entry.path = path;
  return entry;
}

bool IsDigest(const std::string& text) {
  return text.size() == kDigestLength && text.find_first_not_of("0123456789abcdef") == text.npos;
}

// No records have no digest; nor have datastores of which every field is empty.
bool CanBeDigestOfPolicies(const std::string& digest, std::size_t policies) {
  return policies == 0 ? digest.empty() : IsDigest(digest);
}
bool CanBeDigestOfDatastores(const std::string& digest, std::size_t datastores) {
  return digest.empty() || (datastores != 0 && IsDigest(digest));
}

Catalogue ReadDocumentOf(const HistoryEntry& entry) {
  try {
    return ReadCatalogueDocument(ReadKeptFile(entry.path), entry.path);
  } catch (const DocumentError& failure) {
    throw CommandError(ExitStatus::kBadInput, failure.what());
  }
}

std::string NameBehindNumber(const Catalogue& catalogue, const Digests& digests, bool inStore,
                             const std::string& reason) {
  std::string name;
  for (const std::string& part :
       {CompactUtcTime(std::time(nullptr)), reason, std::string(inStore ? kInStore : kInFile),
        std::to_string(catalogue.policies.size()), std::to_string(catalogue.datastores.size()),
        DigestInName(digests.first), DigestInName(digests.second), std::string("json")}) {
    name += '.' + part;
  }
  return name;
}

}  // namespace

std::string HistoryDirectory() {
  return HostPlatform::HostDirectory() + '/' + kFolder;
}

namespace {

// Those whose names end so.
std::vector<HistoryEntry> ListEntries(const std::string& ending) {
  std::vector<HistoryEntry> entries;
  std::error_code error;
  std::filesystem::directory_iterator files(HistoryDirectory(), error);
  if (error == std::errc::no_such_file_or_directory) return entries;
  if (error) throw std::filesystem::filesystem_error("cannot list", HistoryDirectory(), error);
  for (const auto& file : files) {
    if (!file.is_regular_file(error) || file.is_symlink(error)) continue;
    const std::string name = file.path().filename();
    if (name.size() < ending.size()) continue;
    const std::size_t end = name.size() - ending.size();
    if (name.compare(end, name.npos, ending) != 0) continue;
    if (const auto entry = ParseName(file.path(), name.substr(0, end))) entries.push_back(*entry);
  }
  return entries;
}

std::vector<HistoryEntry> NewestFirst(std::vector<HistoryEntry> entries) {
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.number > b.number; });
  return entries;
}

std::string LengthFile() {
  return HistoryDirectory() + "/.length";
}

std::uint64_t Keep(const Catalogue& catalogue, const std::string& name) {
  std::size_t size = 0;
  return HostPlatform::AddNumberedFile(kFolder, name, [&](const HostPlatform::AppendPart& append) {
    WriteDocument(catalogue, [&](std::string_view part) {
      size += part.size();
      if (size > kLargestInput) {
        throw CommandError(ExitStatus::kStore,
                           "its document would be larger than 256 MiB, which could "
                           "not be read again");
      }
      append(part);
    });
  });
}

// Whether the file is the document of the catalogue. One that cannot be read is not.
bool IsDocumentOf(const Catalogue& catalogue, const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  bool same = file.is_open();
  std::string there;
  WriteDocument(catalogue, [&](std::string_view part) {
    if (!same) return;
    there.resize(part.size());
    file.read(there.data(), static_cast<std::streamsize>(part.size()));
    same = file.good() && there == part;
  });
  return same && file.peek() == std::ifstream::traits_type::eof();
}

bool IsNewest(const Catalogue& catalogue, const Digests& digests, bool inStore) {
  try {
    const std::vector<HistoryEntry> entries = ListHistory();
    const auto newest = std::find_if(entries.begin(), entries.end(), [inStore](const auto& entry) {
      return entry.inStore == inStore;
    });
    return newest != entries.end() && newest->digests == digests &&
           IsDocumentOf(catalogue, newest->path);
  } catch (const std::runtime_error&) {
    return false;  // who cannot read it keeps another one
  }
}

}  // namespace

std::vector<HistoryEntry> ListHistory() {
  std::vector<HistoryEntry> entries = ListEntries("");
  for (HistoryEntry& entry : ListEntries(kKept)) {
    entry.kept = true;
    entries.push_back(std::move(entry));
  }
  return NewestFirst(std::move(entries));
}

std::vector<HistoryEntry> ListPending() {
  return NewestFirst(ListEntries(kPending));
}

HistoryEntry FindHistoryEntry(std::uint64_t number) {
  for (HistoryEntry& entry : ListHistory()) {
    if (entry.number == number) return entry;
  }
  throw CommandError(ExitStatus::kAbsent, "no catalogue is kept under the number " +
                                              std::to_string(number) +
                                              "; \"quorctl history\" lists those that are");
}

Catalogue ReadHistoryEntry(const HistoryEntry& entry) {
  if (!CanBeDigestOfPolicies(entry.digests.first, entry.policies) ||
      !CanBeDigestOfDatastores(entry.digests.second, entry.datastores)) {
    throw CommandError(ExitStatus::kBadInput, entry.path +
                                                  ": the digests in its name are not those of " +
                                                  "any such catalogue: it was renamed since");
  }
  Catalogue catalogue = ReadDocumentOf(entry);
  if (catalogue.policies.size() != entry.policies ||
      catalogue.datastores.size() != entry.datastores) {
    throw CommandError(ExitStatus::kBadInput,
                       entry.path + ": holds " + std::to_string(catalogue.policies.size()) +
                           " policies and " + std::to_string(catalogue.datastores.size()) +
                           " datastores, not as many as its name says: it was changed since");
  }
  if (DigestsOf(catalogue) != entry.digests) {
    throw CommandError(ExitStatus::kBadInput,
                       entry.path +
                           ": its records do not have the digests in its name: it was "
                           "changed since");
  }
  return catalogue;
}

std::uint64_t KeepInHistory(const Catalogue& catalogue, const Digests& digests, bool inStore,
                            const std::string& reason) {
  if (IsNewest(catalogue, digests, inStore)) return 0;
  try {
    ReadCatalogueDocument(CatalogueAsDocument(catalogue), "its document");
  } catch (const DocumentError& failure) {  // what cannot be read again is not kept
    throw CommandError(ExitStatus::kStore, failure.what());
  }
  return Keep(catalogue, NameBehindNumber(catalogue, digests, inStore, reason));
}

std::uint64_t KeepPending(const Catalogue& catalogue, const Digests& digests, bool inStore,
                          const std::string& reason) {
  return Keep(catalogue, NameBehindNumber(catalogue, digests, inStore, reason) + kPending);
}

void EndPending(std::uint64_t number, bool inStore) {
  for (const HistoryEntry& entry : ListPending()) {
    if (entry.number == number) {
      const std::string name = entry.path.substr(0, entry.path.size() + 1 - sizeof kPending);
      std::filesystem::rename(entry.path, name);
    } else if (entry.inStore == inStore) {
      std::filesystem::remove(entry.path);
    }
  }
}

void RemoveFromHistory(std::uint64_t number) noexcept {
  try {
    for (const auto& entries : {ListHistory(), ListPending()}) {
      for (const HistoryEntry& entry : entries) {
        if (entry.number == number) std::filesystem::remove(entry.path);
      }
    }
  } catch (const std::exception&) {
    // It stays: a kept catalogue more does no harm.
  }
}

std::size_t HistoryLength() {
  if (!std::filesystem::exists(LengthFile())) return kUsualHistoryLength;
  std::string text = ReadKeptFile(LengthFile());
  if (!text.empty() && text.back() == '\n') text.pop_back();
  std::size_t length = 0;
  if (ReadNumber(text, &length) && length >= 1 && length <= kLongestHistory) return length;
  throw CommandError(ExitStatus::kStore, LengthFile() + ": no number from 1 to " +
                                             std::to_string(kLongestHistory) +
                                             "; set one by \"quorctl history length COUNT\"");
}

void SetHistoryLength(std::size_t length) {
  if (!std::filesystem::exists(HistoryDirectory())) {
    throw CommandError(ExitStatus::kAbsent,
                       "there is no " + HistoryDirectory() + " yet; the first change makes it");
  }
  ReplaceFile(LengthFile(), std::to_string(length) + '\n');
}

void TrimHistory() {
  std::vector<HistoryEntry> entries = NewestFirst(ListEntries(""));
  for (std::size_t i = HistoryLength(); i < entries.size(); ++i)
    std::filesystem::remove(entries[i].path);
}

void MakeKept(const HistoryEntry& entry, bool kept) {
  if (entry.kept == kept) return;
  std::filesystem::rename(
      entry.path,
      kept ? entry.path + kKept : entry.path.substr(0, entry.path.size() + 1 - sizeof kKept));
}

}  // namespace Quorctl
