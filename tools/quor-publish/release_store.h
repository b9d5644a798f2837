// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Releases and channels at the centre.
#ifndef TOOLS_QUOR_PUBLISH_RELEASE_STORE_H_
#define TOOLS_QUOR_PUBLISH_RELEASE_STORE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "centre.h"

namespace QuorPublish {

using ReleaseId = std::int64_t;

struct ReleaseRow {
  ReleaseId id = 0;
  std::string sha256;
  std::string author;
  std::string reason;
  std::string at;  // "2026-11-20 13:31:03 UTC"
  ReleaseId parent = 0;
  std::int64_t policies = 0;
  std::int64_t datastores = 0;
  std::int64_t bytes = 0;
  bool mayEmpty = false;
  bool mayShrink = false;
  bool isSigned = false;
};

struct ChannelRow {
  std::string name;
  std::optional<ReleaseId> release;
  bool paused = false;
  std::optional<ReleaseId> next;  // of the share of a roll-out
  int nextBelow = 0;

  ReleaseId Highest() const { return next ? *next : release.value_or(0); }
};

// The newest `most` ones, the newest first.
std::vector<ReleaseRow> ListReleases(Centre& centre, int most);

// Raises CommandError (absent), which names the newest one or the channels that are there.
ReleaseRow FindRelease(Centre& centre, ReleaseId id);
ChannelRow FindChannel(Centre& centre, const std::string& name);

std::vector<ChannelRow> ListChannels(Centre& centre);

// The records of a release; its document too where that is asked for. Raises
// QuorFleet::ReleaseRefused for one that is not whole.
Quorctl::Catalogue ReadRelease(Centre& centre, ReleaseId id, std::string* text = nullptr);

// "release 5 of ann, 2026-11-20 13:31:03 UTC, \"two more datastores\"", for messages.
std::string Described(const ReleaseRow& release);

}  // namespace QuorPublish

#endif  // TOOLS_QUOR_PUBLISH_RELEASE_STORE_H_
