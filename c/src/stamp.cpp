// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "stamp.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>

namespace QuorC {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kYoung = kSecond / 10;

std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

}  // namespace

Stamp StampOf(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
          Nanoseconds(status.st_ctim), Nanoseconds(status.st_mtim)};
}

HostStamp StampOfHost(const std::string& directory) {
  HostStamp stamp;
  const Stamp host = StampOf(directory);
  stamp.device = host.device;
  stamp.inode = host.inode;
  for (const Place place : kPlaces) {
    stamp.places[place] = StampOf(directory + '/' + NameOf(place));
  }
  return stamp;
}

bool IsYoung(const HostStamp& stamp) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return std::any_of(stamp.places.begin(), stamp.places.end(), [&](const Stamp& place) {
    // A file system without fractions of a second has a resolution of one or two seconds.
    const std::int64_t tick = place.changed % kSecond == 0 ? 2 * kSecond : kYoung;
    return Nanoseconds(now) - place.changed < tick;
  });
}

}  // namespace QuorC
