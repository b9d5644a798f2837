// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Somebody treats a stored file in place, as no writer of ours does, while others read.
//
//   overwrites --store store|file --rounds NUMBER [--seed NUMBER]
//
// In each round the file is copied over (cp -a), cut (truncate), overwritten in the middle
// (dd conv=notrunc) or changed block by block (rsync --inplace), and put right again. No reader
// ends, hangs or fails otherwise than by the library's exceptions. A lookup in the configuration
// store answers from one of the two states or raises; the configuration file has no checksum that
// would tell what is half written.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "place.h"
#include "platform/admin.h"
#include "readers.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/temporary_directory.h"

namespace StressTest {
namespace {

using TavQuor::QuorLib;

constexpr int kReaders = 8;
constexpr int kFirst = 1, kSecond = 2;  // the sets of the two states
constexpr useconds_t kLongestPause = 300;

// A file that is written as other programs do: in place, a block at a time.
class InPlace {
 public:
  InPlace(const std::string& path, int flags) : fd_(open(path.c_str(), O_WRONLY | flags)) {
    if (fd_ < 0) throw std::system_error(errno, std::generic_category(), path);
  }
  InPlace(const InPlace&) = delete;
  InPlace& operator=(const InPlace&) = delete;
  ~InPlace() { close(fd_); }

  void Write(std::size_t offset, std::string_view bytes) const {
    constexpr std::size_t kBlock = 1000;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kBlock))) {
      const std::size_t size = std::min(bytes.size(), kBlock);
      const ssize_t written = pwrite(fd_, bytes.data(), size, static_cast<off_t>(offset));
      if (written != static_cast<ssize_t>(size)) throw std::runtime_error("pwrite");
      offset += size;
    }
  }
  void Cut(std::size_t size) const {
    if (ftruncate(fd_, static_cast<off_t>(size)) != 0) throw std::runtime_error("ftruncate");
  }

 private:
  int fd_;
};

class Overwrites {
 public:
  explicit Overwrites(const Arguments& arguments)
      : arguments_(arguments), random_(arguments.seed), host_(temporary_.PathOf("host")) {
    HostPlatform::UseHostDirectory(host_);
    UseStore(arguments.store);
    path_ = host_ + (arguments.store == "store" ? "/config-store.cdb" : "/host-config.json");
    states_ = {StateOf(kFirst), StateOf(kSecond)};
  }

  void Run() {
    readers_.Start(kReaders, &random_);
    for (; rounds_ < arguments_.times; ++rounds_)
      Treat();
    readers_.Stop();
    if (arguments_.store == "store" && readers_.notes().wrong != 0)
      throw std::runtime_error(std::to_string(readers_.notes().wrong) + " answers are of no state");
    if (readers_.notes().answered < rounds_ / 10)
      throw std::runtime_error("the readers hardly read");
  }

  void Print(double seconds) const {
    std::printf(
        "store=%s seed=%llu rounds=%d readers=%d answered=%ld raised=%ld half-written=%ld "
        "seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed), rounds_,
        kReaders, readers_.notes().answered.load(), readers_.notes().raised.load(),
        readers_.notes().wrong.load(), seconds);
  }

 private:
  std::string StateOf(int set) const {
    QuorLib::AddPolicyInfo(PoliciesOf(set));
    QuorLib::AddDatastoreInfo(DatastoresOf(set));
    return PlatformTest::ReadFile(path_);
  }

  void Treat() {
    const std::string& next = states_[random_.Below(2)];
    switch (random_.Below(4)) {
      case 0:
        InPlace(path_, O_TRUNC).Write(0, next);
        break;
      case 1:
        InPlace(path_, 0).Cut(random_.Below(next.size()));
        Pause();
        break;
      case 2: {
        const std::size_t offset = random_.Below(next.size());
        InPlace(path_, 0).Write(offset, random_.Bytes(random_.Below(4096)));
        Pause();
        break;
      }
      default: {
        const InPlace file(path_, 0);
        file.Write(0, next);
        file.Cut(next.size());
      }
    }
    const InPlace file(path_, 0);  // as it should be
    file.Write(0, next);
    file.Cut(next.size());
    Pause();
  }

  void Pause() { usleep(static_cast<useconds_t>(random_.Below(kLongestPause))); }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::string host_;
  std::string path_;
  std::array<std::string, 2> states_;
  Readers readers_{kFirst, kSecond};
  int rounds_ = 0;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::Overwrites>(argc, argv, "--rounds");
}
