#include "features/feature_page.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "io/directory.h"
#include "io/error.h"
#include "io/file_descriptor.h"
#include "io/file_lock.h"
#include "io/file_replacement.h"
#include "io/host_paths.h"
#include "platform/admin.h"
#include "platform/feature_list.h"

namespace HostPlatform {
namespace {

#if defined(__x86_64__) || defined(__i386__)
constexpr std::size_t kPageSize = 4096;
#else
constexpr std::size_t kPageSize = 65536;  // the largest that the system may be built with
#endif

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

// The file is mapped over this page in one step of the kernel, so that the pointers never change
// and a load beside it meets the defaults or the file.
constinit FeaturePage page;
constinit std::atomic<bool> mapped{false};

constexpr mode_t kFeaturesMode = 0640;

// Why the file cannot be used; empty when it was mapped or is not there.
std::string MapFile() {
  const std::string path = Io::FeaturesPath();
  const Io::FileDescriptor file(AT_FDCWD, path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file) {
    return errno == ENOENT ? std::string() : path + ": " + std::generic_category().message(errno);
  }
  const struct stat status = Io::StatOf(file, path);
  if (!S_ISREG(status.st_mode) || status.st_size < kFeatureCount) {
    return path + ": not a file of " + std::to_string(kFeatureCount) +
           " bytes, one per feature switch; remove it";
  }
  if (mmap(&page, kPageSize, PROT_READ, MAP_SHARED | MAP_FIXED, file.get(), 0) == MAP_FAILED) {
    return path + ": cannot map: " + std::generic_category().message(errno);
  }
  mapped.store(true, std::memory_order_release);
  return std::string();
}

// Puts the defaults back in place of a mapped file.
void Unmap() {
  void* const fresh = mmap(&page, kPageSize, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  if (fresh == MAP_FAILED) throw std::bad_alloc();
  page.switches = kDefaults;
  mapped.store(false, std::memory_order_release);
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
  // In place: the processes that have the file mapped must see it.
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

void MapFeaturesIfNeeded() {
  if (mapped.load(std::memory_order_acquire)) return;
  const Io::ErrnoKeeper keeper;
  try {
    MapFile();
  } catch (const std::exception&) {
    // The defaults stay; GetFeature() tells why.
  }
}

void RemapFeatures() {
  const Io::ErrnoKeeper keeper;
  Unmap();
  MapFeaturesIfNeeded();
}

void EnsureFeaturesFile(const Io::Directory& directory) {
  // Not by faccessat(), which asks for the real user.
  struct stat status;
  if (fstatat(directory.get(), Io::kFeaturesName, &status, AT_SYMLINK_NOFOLLOW) == 0) return;
  // Anything else does not say that there is none: the host's switches must not be written over.
  if (errno != ENOENT) {
    Io::RaiseSystemError(errno, directory.PathOf(Io::kFeaturesName), "look for the file");
  }
  Io::FileReplacement file(directory, Io::kFeaturesName, kFeaturesMode);
  const auto* const bytes = reinterpret_cast<const char*>(kDefaults.data());
  Io::WriteAll(file.file(), std::string_view(bytes, kDefaults.size()), file.path());
  file.PutInPlace();
}

void UseHostDirectory(const std::string& path) {
  Io::SetHostDirectory(path);
  RemapFeatures();
}

void OverrideFeature(int index, bool on) {
  CheckIndex(index);
  const Io::ErrnoKeeper keeper;
  const Switches present = page.switches;
  Unmap();
  page.switches = present;
  page.switches[static_cast<std::size_t>(index)] = on ? 1 : 0;
  mapped.store(true, std::memory_order_release);  // what is here stays
}

FeatureState GetFeature(int index) {
  CheckIndex(index);
  const Io::ErrnoKeeper keeper;
  FeatureState state;
  state.path = Io::FeaturesPath();
  if (!mapped.load(std::memory_order_acquire)) {
    try {
      state.problem = MapFile();
    } catch (const Io::Error& error) {
      state.problem = error.what();
    }
  }
  state.mapped = mapped.load(std::memory_order_acquire);
  state.on = *FeatureList[index] != 0;
  return state;
}

void SetFeature(int index, bool on) {
  CheckIndex(index);
  const Io::ErrnoKeeper keeper;
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
  MapFeaturesIfNeeded();
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
