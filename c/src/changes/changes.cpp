// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The caller's descriptor is an epoll instance, so that its sources (inotify, a timer or both) can
// change without the caller's event loop noticing.
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include "changes/watches.h"
#include "failure.h"
#include "quor/quor_lib.h"
#include "stamp.h"

namespace QuorC {
namespace {

constexpr time_t kPeriod = 1;  // seconds

// libquor checks the file of switches every 100 ms and obeys a new one from the next call on. A
// caller that calls at each of these wake-ups has seen it.
constexpr int kLooksAtSwitches = 2;

// File systems that other hosts change without notifying this one.
const char* NameOfSharedFileSystem(const std::string& path) {
  struct Kind {
    std::uint32_t magic;
    const char* name;
  };
  constexpr Kind kKinds[] = {{0x6969, "NFS"},      {0x517b, "SMB"},        {0xff534d42, "CIFS"},
                             {0xfe534d42, "SMB"},  {0x65735546, "FUSE"},   {0x01021997, "9P"},
                             {0x00c36400, "Ceph"}, {0x0bd00bd0, "Lustre"}, {0x5346414f, "AFS"},
                             {0x73757245, "Coda"}, {0x01161970, "GFS2"},   {0x7461636f, "OCFS2"}};
  struct statfs status;
  if (statfs(path.c_str(), &status) != 0) return nullptr;
  const auto magic = static_cast<std::uint32_t>(status.f_type);
  const auto* const found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                         [&](const Kind& kind) { return kind.magic == magic; });
  return found == std::end(kKinds) ? nullptr : found->name;
}

}  // namespace
}  // namespace QuorC

struct quor_changes {
  explicit quor_changes(std::string path) : directory(std::move(path)), watches(directory) {}

  void Open();
  unsigned Read();  // as quor_changes_read()
  unsigned Digests();

  std::string directory;
  std::string fallback;  // reason of the timer; empty without one
  QuorC::Descriptor epoll;

 private:
  void Arm();
  void Add(int descriptor) const;
  void RunTimer(bool runs);
  unsigned Look();
  unsigned Compare();

  QuorC::Watches watches;
  QuorC::Descriptor timer;
  QuorC::HostStamp stamp;
  pid_t owner = getpid();
  bool watched = false;  // inotify is in the epoll instance
  bool timerRuns = false;
  bool settling = false;    // the timer runs until changes by hand have ended
  int looksAtSwitches = 0;  // remaining wake-ups for the switches
  unsigned missed = 0;      // kinds lost by a failed check
  unsigned unsure = 0;      // kinds with a young stamp: a later change might not show
  bool hasDigests = false;
  std::pair<std::string, std::string> digests;
};

namespace {

using QuorC::kPlaces;
using QuorC::Place;

constexpr unsigned kAll = QUOR_CHANGED_STORE | QUOR_CHANGED_FILE | QUOR_CHANGED_SWITCH;

[[noreturn]] void RaiseSystem(const char* action) {
  throw std::system_error(errno, std::generic_category(), action);
}

void NeedChanges(const void* changes) {
  if (changes == nullptr) throw std::invalid_argument("a null pointer was given for the changes");
}

unsigned BitOf(Place place) {
  constexpr unsigned kBits[] = {QUOR_CHANGED_STORE, QUOR_CHANGED_FILE, QUOR_CHANGED_SWITCH};
  return kBits[place];
}

}  // namespace

void quor_changes::Open() {
  epoll = QuorC::Descriptor(epoll_create1(EPOLL_CLOEXEC));
  if (!epoll) RaiseSystem("cannot make a descriptor of changes");
  // Created in advance as the fallback of last resort.
  timer = QuorC::Descriptor(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
  if (!timer) RaiseSystem("cannot make a timer");
  Add(timer.get());
  Arm();
  stamp = QuorC::StampOfHost(directory);
}

void quor_changes::Add(int descriptor) const {
  epoll_event event = {};
  event.events = EPOLLIN;
  if (epoll_ctl(epoll.get(), EPOLL_CTL_ADD, descriptor, &event) != 0 && errno != EEXIST) {
    RaiseSystem("cannot add to a descriptor of changes");
  }
}

void quor_changes::Arm() {
  fallback = watches.Arm();
  if (watches.descriptor() >= 0 && !watched) {
    Add(watches.descriptor());
    watched = true;
  }
  const char* const shared = QuorC::NameOfSharedFileSystem(directory);
  if (fallback.empty() && shared != nullptr) {
    fallback = directory + ": on " + shared + " the changes of other hosts are not notified";
  }
  RunTimer(!fallback.empty() || settling);
}

void quor_changes::RunTimer(bool runs) {
  if (runs == timerRuns) return;
  itimerspec times = {};
  if (runs) times.it_value.tv_sec = times.it_interval.tv_sec = QuorC::kPeriod;
  if (timerfd_settime(timer.get(), 0, &times, nullptr) != 0) RaiseSystem("cannot set a timer");
  timerRuns = runs;
}

// Kinds whose files' stamps differ from the last check.
unsigned quor_changes::Compare() {
  const QuorC::HostStamp now = QuorC::StampOfHost(directory);
  unsigned changed = 0;
  if (now.device != stamp.device || now.inode != stamp.inode) changed |= QUOR_CHANGED_DIRECTORY;
  for (const Place place : kPlaces) {
    if (now.places[place] != stamp.places[place]) changed |= BitOf(place);
  }
  stamp = now;
  return changed;
}

unsigned quor_changes::Read() {
  if (getpid() != owner) {
    // The queue is shared with the parent, which would miss the events read here.
    throw std::invalid_argument(
        "these changes are another process's, which forked; open some here");
  }
  try {
    return Look() | std::exchange(missed, 0U);
  } catch (...) {
    // Events may be lost and watches missing: check everything anew by the timer.
    missed = kAll;
    RunTimer(true);
    throw;
  }
}

unsigned quor_changes::Look() {
  std::uint64_t expirations = 0;
  const bool expired =
      timerRuns && read(timer.get(), &expirations, sizeof expirations) == sizeof expirations;
  const QuorC::Events events = watches.Drain();
  unsigned changed = 0;
  bool byHand = events.structure || events.lost;
  for (const Place place : kPlaces) {
    if (events.moved[place] || events.edited[place]) changed |= BitOf(place);
    byHand |= events.edited[place] && !events.moved[place] && place != QuorC::kSwitches;
  }
  if (events.lost) {
    changed |= QUOR_CHANGED_LOST | kAll;
  }
  if (events.structure || events.lost || missed != 0 || (expired && !fallback.empty())) Arm();
  const QuorC::Stamp switches = stamp.places[QuorC::kSwitches];
  const unsigned seen = Compare();
  if (!stamp.places[QuorC::kSwitches].IsSameFile(switches)) {
    looksAtSwitches = QuorC::kLooksAtSwitches;
  } else if (expired && looksAtSwitches > 0) {
    --looksAtSwitches;
    changed |= QUOR_CHANGED_SWITCH;
  }
  if (expired) changed |= std::exchange(unsure, 0);
  if (timerRuns && QuorC::IsYoung(stamp)) unsure |= seen;
  // A change by hand usually has several steps: a restore copies file by file, and a directory may
  // be swapped before it is filled.
  const bool done = expired && (changed | seen | unsure) == 0;
  settling = byHand || looksAtSwitches > 0 || (settling && !done);
  RunTimer(settling || !fallback.empty());
  return changed | seen;
}

unsigned quor_changes::Digests() {
  std::pair<std::string, std::string> now = TavQuor::QuorLib::GetDbHash();
  unsigned which = 0;
  if (hasDigests && now.first != digests.first) which |= QUOR_DIFFERENT_POLICIES;
  if (hasDigests && now.second != digests.second) which |= QUOR_DIFFERENT_DATASTORES;
  digests = std::move(now);
  hasDigests = true;
  return which;
}

quor_status quor_changes_open(const char* directory, quor_changes** changes, quor_error** error) {
  if (changes != nullptr) *changes = nullptr;
  return QuorC::Guard(error, [&] {
    NeedChanges(changes);
    std::string path = directory == nullptr ? QuorC::HostDirectory() : directory;
    if (!path.starts_with('/')) {
      throw std::invalid_argument("the host directory is to be an absolute path");
    }
    auto opened = std::make_unique<quor_changes>(std::move(path));
    opened->Open();
    *changes = opened.release();
  });
}

void quor_changes_close(quor_changes* changes) {
  const QuorC::CallScope scope;
  delete changes;
}

int quor_changes_descriptor(const quor_changes* changes) {
  return changes == nullptr ? -1 : changes->epoll.get();
}

const char* quor_changes_fallback(const quor_changes* changes) {
  return changes == nullptr ? "" : changes->fallback.c_str();
}

quor_status quor_changes_read(quor_changes* changes, unsigned* changed, quor_error** error) {
  if (changed != nullptr) *changed = 0;
  return QuorC::Guard(error, [&] {
    NeedChanges(changes);
    const unsigned found = changes->Read();
    if (changed != nullptr) *changed = found;
  });
}

quor_status quor_changes_digests(quor_changes* changes, unsigned* which, quor_error** error) {
  if (which != nullptr) *which = 0;
  return QuorC::Guard(error, [&] {
    NeedChanges(changes);
    const unsigned found = changes->Digests();
    if (which != nullptr) *which = found;
  });
}
