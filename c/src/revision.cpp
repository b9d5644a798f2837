// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include <cstring>
#include <ctime>

#include "failure.h"
#include "stamp.h"

namespace {

// Contents of a token.
struct Content {
  QuorC::HostStamp stamp;
  std::int64_t onlyOnce;  // unique number for a young stamp, else 0
};
static_assert(sizeof(Content) <= sizeof(quor_revision));

std::int64_t MonotonicTime() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

quor_status quor_revision_get(quor_revision* revision, quor_error** error) {
  if (revision != nullptr) std::memset(revision, 0, sizeof *revision);
  return QuorC::Guard(error, [&] {
    if (revision == nullptr) throw std::invalid_argument("a null pointer was given for the token");
    Content content;
    content.stamp = QuorC::StampOfHost(QuorC::HostDirectory());
    content.onlyOnce = QuorC::IsYoung(content.stamp) ? MonotonicTime() : 0;
    std::memcpy(revision, &content, sizeof content);
  });
}

int quor_revision_equal(const quor_revision* one, const quor_revision* other) {
  return std::memcmp(one, other, sizeof *one) == 0 ? 1 : 0;
}
