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
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "place.h"
#include "platform/admin.h"
#include "stress_program.h"
#include "support/random.h"
#include "support/shared.h"
#include "support/temporary_directory.h"
#include "tavconfigstore/exception.h"
#include "zynctl/exception.h"

namespace StressTest {
namespace {

using TavQuor::QuorLib;

constexpr int kReaders = 8;
constexpr int kFirst = 1, kSecond = 2;  // the sets of the two states
constexpr useconds_t kLongestPause = 300;
constexpr unsigned kPatience = 60;  // seconds of one call

struct Notes {
  std::atomic<bool> stopped{false};
  std::atomic<long> answered{0};
  std::atomic<long> raised{0};
  std::atomic<long> wrong{0};
};

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
    std::vector<pid_t> readers;
    for (int i = 0; i < kReaders; ++i)
      readers.push_back(StartReader());
    for (; rounds_ < arguments_.times; ++rounds_)
      Treat();
    notes_->stopped = true;
    int ended = 0;
    for (const pid_t reader : readers) {
      int status = 0;
      while (waitpid(reader, &status, 0) < 0 && errno == EINTR) {
      }
      if (status != 0) ++ended;
      if (WIFSIGNALED(status)) std::printf("a reader was ended by signal %d\n", WTERMSIG(status));
    }
    if (ended != 0) throw std::runtime_error(std::to_string(ended) + " readers ended");
    if (arguments_.store == "store" && notes_->wrong != 0)
      throw std::runtime_error(std::to_string(notes_->wrong) + " answers are of no state");
    if (notes_->answered < rounds_ / 10) throw std::runtime_error("the readers hardly read");
  }

  void Print(double seconds) const {
    std::printf(
        "store=%s seed=%llu rounds=%d readers=%d answered=%ld raised=%ld half-written=%ld "
        "seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed), rounds_,
        kReaders, notes_->answered.load(), notes_->raised.load(), notes_->wrong.load(), seconds);
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

  pid_t StartReader() {
    const std::uint64_t seed = random_.Number();
    const pid_t reader = fork();
    if (reader < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (reader != 0) return reader;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    PlatformTest::Random random(seed);
    while (!notes_->stopped) {
      alarm(kPatience);
      Read(&random);
    }
    _exit(0);
  }

  // Anything but an exception of the stores ends the reader.
  void Read(PlatformTest::Random* random) {
    const int policy = static_cast<int>(random->Below(kPolicies));
    const int datastore = static_cast<int>(random->Below(kDatastores));
    try {
      switch (random->Below(4)) {
        case 0:
          Expect(QuorLib::GetRilkPolicyBlobByName(PolicyName(policy)), policy, kRilk);
          break;
        case 1:
          Expect(QuorLib::GetRilkPolicyBlobById(PolicyId(policy)), policy, kRilk);
          break;
        case 2:
          QuorLib::GetDefaultPolicyBlob(Url(datastore));
          break;
        default:
          QuorLib::ListPolicyInfo();  // leaves out what is damaged
      }
      ++notes_->answered;
    } catch (const TavConfigStore::ConfigStoreException&) {
      ++notes_->raised;
    } catch (const ZynCtl::Config::ConfigFileException&) {
      ++notes_->raised;
    }
  }

  void Expect(const std::string& blob, int policy, int blobNamespace) {
    for (const int set : {kFirst, kSecond}) {
      if (NumberOrNone(blob) == BlobIn(set, policy, blobNamespace)) return;
    }
    ++notes_->wrong;
  }

  static int NumberOrNone(const std::string& blob) try {
    return NumberOfBlob(blob);
  } catch (const std::runtime_error&) {
    return -1;
  }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::string host_;
  std::string path_;
  std::array<std::string, 2> states_;
  PlatformTest::Shared<Notes> notes_;
  int rounds_ = 0;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  return StressTest::RunProgram<StressTest::Overwrites>(argc, argv, "--rounds");
}
