// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "services/feature_page.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <iterator>
#include <limits>
#include <mutex>
#include <stdexcept>

#include "errors/error.h"
#include "os/call_scope.h"
#include "os/coarse_clock.h"
#include "os/directory.h"
#include "os/file_descriptor.h"
#include "os/file_lock.h"
#include "os/file_replacement.h"
#include "os/fork.h"
#include "os/host_paths.h"
#include "os/newest.h"
#include "os/page_size.h"
#include "platform/admin.h"
#include "platform/feature_list.h"

namespace HostPlatform {
namespace {

using Switches = std::array<unsigned char, kFeatureCount>;

constexpr Switches DefaultSwitches() {
  Switches switches{};
  switches[kFeatureQuorUsesConfigStore] = 1;
  return switches;
}
constexpr Switches kDefaults = DefaultSwitches();

struct alignas(kPageSize) FeaturePage {
  Switches switches = kDefaults;
  unsigned char rest[kPageSize - kFeatureCount] = {};
};

// mremap() replaces this page by the file's mapping atomically: the pointers never change, and a
// concurrent load reads the old page or the file.
constinit FeaturePage page;

enum class Source { kBuiltIn, kFile, kOverride };

// Origin of the page's content; guarded by FeaturesMutex().
constinit Source source = Source::kBuiltIn;
constinit struct stat fileStatus = {};  // of the file in the page

// Time of the next check of the file; 0: at the next call.
constinit std::atomic<std::int64_t> nextLook{0};
constexpr std::int64_t kLookInterval = 100'000'000;  // ns

constexpr mode_t kFeaturesMode = 0640;

// Maps the file elsewhere first, so that the page survives a refused mapping.
void MoveIntoPage(const Io::FileDescriptor& file, const std::string& path) {
  void* const elsewhere = mmap(nullptr, kPageSize, PROT_READ, MAP_SHARED, file.get(), 0);
  if (elsewhere == MAP_FAILED) Io::RaiseSystemError(errno, path, "map the feature switches");
  if (mremap(elsewhere, kPageSize, kPageSize, MREMAP_MAYMOVE | MREMAP_FIXED, &page) == MAP_FAILED) {
    const int error = errno;
    munmap(elsewhere, kPageSize);
    Io::RaiseSystemError(error, path, "map the feature switches");
  }
}

void MapFile(const std::string& path) {
  const Io::FileDescriptor file(AT_FDCWD, path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file) Io::RaiseSystemError(errno, path, "open the feature switches");
  const struct stat status = Io::StatOf(file, path);
  if (!S_ISREG(status.st_mode) || status.st_size < kFeatureCount) {
    throw Io::Error(Io::ErrorKind::kOther, path + ": not a file of " +
                                               std::to_string(kFeatureCount) +
                                               " bytes, one per feature switch; remove it");
  }
  // Reports a read error of the disk here; the first load would raise SIGBUS.
  char bytes[kFeatureCount];
  Io::ReadAt(file, 0, bytes, sizeof bytes, path);
  MoveIntoPage(file, path);
  source = Source::kFile;
  fileStatus = status;
}

// Raises if the missing file had other values than the defaults, which a new process would use.
void CheckThatDefaultsHold(const std::string& path) {
  if (source == Source::kBuiltIn || page.switches == kDefaults) return;
  throw Io::Error(Io::ErrorKind::kOther,
                  path +
                      ": the feature switches, which choose the store, are gone; put the file "
                      "back, or choose the store again by quorctl switch");
}

// Brings the page in line with the host's file. Raises Io::Error and leaves the page alone if the
// file cannot be examined or used.
void FollowFile() {
  const std::lock_guard lock(Io::FeaturesMutex());
  if (source == Source::kOverride) return;
  nextLook.store(0, std::memory_order_relaxed);
  const std::string path = Io::FeaturesPath();
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) Io::RaiseSystemError(errno, path, "look at the feature switches");
    CheckThatDefaultsHold(path);
    return;
  }
  if (source != Source::kFile || !Io::SameFile(status, fileStatus)) MapFile(path);
  nextLook.store(Io::PresentTick() + kLookInterval, std::memory_order_relaxed);
}

// Replaces a mapped file by the defaults.
void Unmap() {
  void* const fresh = mmap(&page, kPageSize, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  if (fresh == MAP_FAILED) throw std::bad_alloc();
  page.switches = kDefaults;
  source = Source::kBuiltIn;
  nextLook.store(0, std::memory_order_relaxed);
}

void WriteSwitch(const Io::Directory& directory, int index, bool on) {
  const std::string path = directory.PathOf(Io::kFeaturesName);
  const Io::FileDescriptor file(directory.get(), Io::kFeaturesName,
                                O_RDWR | O_NOFOLLOW | O_NONBLOCK);
  if (!file) Io::RaiseSystemError(errno, path, "open for writing");
  const struct stat status = Io::StatOf(file, path);
  if (!S_ISREG(status.st_mode) || status.st_nlink > 1 || status.st_size < kFeatureCount) {
    throw Io::Error(Io::ErrorKind::kInsecure, path + ": not a plain file of " +
                                                  std::to_string(kFeatureCount) +
                                                  " bytes, one per feature switch; remove it");
  }
  const unsigned char value = on ? 1 : 0;
  Io::CheckFileSize(static_cast<std::uint64_t>(index), path);
  // In place, since other processes have the file mapped.
  if (Io::RetryInterrupted([&] { return pwrite(file.get(), &value, 1, index); }) != 1) {
    Io::RaiseSystemError(errno, path, "write");
  }
  if (Io::RetryInterrupted([&] { return fdatasync(file.get()); }) != 0) {
    Io::RaiseSystemError(errno, path, "flush");
  }
}

void CheckIndex(int index) {
  if (index < 0 || index >= kFeatureCount) {
    throw std::out_of_range("feature switch " + std::to_string(index) + ": there are " +
                            std::to_string(kFeatureCount));
  }
}

}  // namespace

void LoadFeatures() {
  const Io::CallScope scope;
  try {
    FollowFile();
  } catch (const std::exception&) {
    // The first call that reaches a store looks again, and raises.
  }
}

void ReloadFeatures() {
  Unmap();
  LoadFeatures();
}

void FollowFeatures() {
  if (Io::PresentTick() < nextLook.load(std::memory_order_relaxed)) return;
  const Io::CallScope scope;
  FollowFile();
}

void FollowFeaturesNow() {
  FollowFile();
}

void EnsureFeaturesFile(const Io::Directory& directory) {
  // Not faccessat(), which checks the real user's permissions.
  struct stat status;
  if (fstatat(directory.get(), Io::kFeaturesName, &status, AT_SYMLINK_NOFOLLOW) == 0) return;
  // Other errors do not prove that the file is missing, and it must not be overwritten.
  if (errno != ENOENT) {
    Io::RaiseSystemError(errno, directory.PathOf(Io::kFeaturesName), "look for the file");
  }
  Io::FileReplacement file(directory, Io::kFeaturesName, kFeaturesMode);
  const auto* const bytes = reinterpret_cast<const char*>(kDefaults.data());
  Io::WriteAll(file.file(), std::string_view(bytes, kDefaults.size()), file.path());
  file.PutInPlace();
}

void OverrideFeature(int index, bool on) {
  CheckIndex(index);
  const Io::CallScope scope;
  const Switches present = page.switches;
  Unmap();
  page.switches = present;
  page.switches[static_cast<std::size_t>(index)] = on ? 1 : 0;
  source = Source::kOverride;  // keeps the page's content
  nextLook.store(std::numeric_limits<std::int64_t>::max(), std::memory_order_relaxed);
}

FeatureState GetFeature(int index) {
  CheckIndex(index);
  const Io::CallScope scope;
  FeatureState state;
  state.path = Io::FeaturesPath();
  try {
    FollowFile();
  } catch (const Io::Error& error) {
    state.problem = error.what();
  }
  const std::lock_guard lock(Io::FeaturesMutex());
  state.mapped = source != Source::kBuiltIn;
  state.on = *FeatureList[index] != 0;
  return state;
}

void SetFeature(int index, bool on) {
  CheckIndex(index);
  const Io::CallScope scope;
  try {
    const Io::Directory directory(Io::HostDirectoryPath());
    {
      const Io::FileLock lock(directory, Io::kConfigStoreLockName, Io::LockDeadline());
      EnsureFeaturesFile(directory);
      directory.Sync();
    }
    WriteSwitch(directory, index, on);
  } catch (const Io::Error& error) {
    Io::RaiseToTools(error);
  }
  LoadFeatures();
}

}  // namespace HostPlatform

#define QUOR_SWITCH_1(i) &HostPlatform::page.switches[i]
#define QUOR_SWITCH_4(i) \
  QUOR_SWITCH_1(i), QUOR_SWITCH_1(i + 1), QUOR_SWITCH_1(i + 2), QUOR_SWITCH_1(i + 3)
#define QUOR_SWITCH_16(i) \
  QUOR_SWITCH_4(i), QUOR_SWITCH_4(i + 4), QUOR_SWITCH_4(i + 8), QUOR_SWITCH_4(i + 12)
#define QUOR_SWITCH_64(i) \
  QUOR_SWITCH_16(i), QUOR_SWITCH_16(i + 16), QUOR_SWITCH_16(i + 32), QUOR_SWITCH_16(i + 48)

// Built at compile time: a constructor of another library may read it before ours has run.
const unsigned char* const FeatureList[] = {QUOR_SWITCH_64(0), QUOR_SWITCH_64(64),
                                            QUOR_SWITCH_64(128), QUOR_SWITCH_64(192)};
static_assert(std::size(FeatureList) == kFeatureCount);
