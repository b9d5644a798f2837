// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "kept_release.h"

#include <charconv>
#include <string_view>

#include "catalogue/text/terminal_text.h"
#include "fleet/sha256.h"

namespace QuorAgent {
namespace {

constexpr char kWantedFormat[] = "quor-agent-wanted/1";
constexpr char kAppliedFormat[] = "quor-agent-applied/1";

// Lines of a key, a blank and a value; after an empty line, the document.
class KeptText {
 public:
  KeptText(const std::string& text, const std::string& path) : rest_(text), path_(path) {}

  std::string Take(std::string_view key) {
    const std::size_t end = rest_.find('\n');
    const std::string_view line = rest_.substr(0, end);
    if (end == std::string_view::npos || line.substr(0, key.size()) != key) Raise();
    rest_.remove_prefix(end + 1);
    return std::string(line.substr(key.size()));
  }

  std::string_view Rest() const { return rest_; }

  [[noreturn]] void Raise() const {
    throw BadKeptFile(Quorctl::EscapeForTerminal(path_) +
                      ": damaged; it is not used, and replaced by the next release");
  }

 private:
  std::string_view rest_;
  const std::string& path_;
};

std::string AsText(const char* format, const ReleaseName& release) {
  return std::string("format ") + format + "\nrelease " + std::to_string(release.id) + "\nsha256 " +
         release.sha256 + "\norigin " + (release.fromFile ? "file" : "centre") + '\n';
}

ReleaseName TakeRelease(const char* format, KeptText* text) {
  ReleaseName release;
  if (text->Take("format ") != format) text->Raise();
  const std::string id = text->Take("release ");
  const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), release.id);
  if (error != std::errc() || end != id.data() + id.size()) text->Raise();
  release.sha256 = text->Take("sha256 ");
  const std::string origin = text->Take("origin ");
  if (origin != "file" && origin != "centre") text->Raise();
  release.fromFile = origin == "file";
  return release;
}

}  // namespace

std::string AsText(const Wanted& wanted) {
  return AsText(kWantedFormat, wanted.release) + '\n' + wanted.document;
}

std::string AsText(const Applied& applied) {
  return AsText(kAppliedFormat, applied.release) + "policies " + applied.digests.first +
         "\ndatastores " + applied.digests.second + "\nend\n";
}

Wanted ParseWanted(const std::string& text, const std::string& path) {
  KeptText kept(text, path);
  Wanted wanted;
  wanted.release = TakeRelease(kWantedFormat, &kept);
  if (!kept.Take("").empty()) kept.Raise();
  wanted.document = kept.Rest();
  if (QuorFleet::Sha256Hex(wanted.document) != wanted.release.sha256) kept.Raise();
  return wanted;
}

Applied ParseApplied(const std::string& text, const std::string& path) {
  KeptText kept(text, path);
  Applied applied;
  applied.release = TakeRelease(kAppliedFormat, &kept);
  applied.digests.first = kept.Take("policies ");
  applied.digests.second = kept.Take("datastores ");
  if (!kept.Take("end").empty() || !kept.Rest().empty()) kept.Raise();
  return applied;
}

}  // namespace QuorAgent
