// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The disk cannot read some bytes of a stored file (EIO), while others read it.
//
//   bad_blocks --store store|file --rounds NUMBER [--seed NUMBER]
//
// In each round the catalogue is replaced, some pages of its file fail, and are healed again. No
// reader ends, hangs, answers from another state or fails otherwise than by the library's
// exceptions; what is healed is found at once.
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "catalogue_calls.h"
#include "catalogue_sets.h"
#include "failing_disk.h"
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
constexpr useconds_t kLongestPause = 2000;

class BadBlocks {
 public:
  explicit BadBlocks(const Arguments& arguments)
      : arguments_(arguments),
        random_(arguments.seed),
        file_(arguments.store == "store" ? "config-store.cdb" : "host-config.json"),
        disk_(temporary_.PathOf("disk"), host_, file_) {
    HostPlatform::UseHostDirectory(host_);
    UseStore(arguments.store);
    Replace(kFirst);
  }

  void Run() {
    readers_.Start(kReaders, &random_);
    for (; rounds_ < arguments_.times; ++rounds_)
      FailAndHeal();
    readers_.Stop();
    const Readers::Notes& notes = readers_.notes();
    if (notes.wrong != 0)
      throw std::runtime_error(std::to_string(notes.wrong) + " answers are of no state");
    if (notes.answered < rounds_) throw std::runtime_error("the readers hardly read");
    if (notes.raised == 0 || disk_.refused() < rounds_ / 10)
      throw std::runtime_error("hardly a read has failed");
  }

  void Print(double seconds) const {
    const Readers::Notes& notes = readers_.notes();
    std::printf(
        "store=%s seed=%llu rounds=%d readers=%d answered=%ld raised=%ld failed-reads=%ld "
        "seconds=%.1f\n",
        arguments_.store.c_str(), static_cast<unsigned long long>(arguments_.seed), rounds_,
        kReaders, notes.answered.load(), notes.raised.load(), disk_.refused(), seconds);
  }

 private:
  static void Replace(int set) {
    QuorLib::AddPolicyInfo(PoliciesOf(set));
    QuorLib::AddDatastoreInfo(DatastoresOf(set));
  }

  void FailAndHeal() {
    const int set = random_.OneIn(2) ? kFirst : kSecond;
    Replace(set);
    const std::size_t size = PlatformTest::ReadFile(host_ + '/' + file_).size();
    const auto bad = static_cast<off_t>(random_.Below(size));
    disk_.Fail(bad, bad + 1);  // the whole page, as it is read at once
    usleep(static_cast<useconds_t>(random_.Below(kLongestPause)));
    disk_.Heal();
    for (int policy = 0; policy < kPolicies; ++policy) {
      const std::string blob = QuorLib::GetRilkPolicyBlobById(PolicyId(policy));
      const int wanted = BlobIn(set, policy, kRilk);
      if (NumberOfBlob(blob) != wanted)
        throw std::runtime_error("a healed file answers " + blob + " in place of " +
                                 std::to_string(wanted));
    }
  }

  const Arguments& arguments_;
  PlatformTest::Random random_;
  PlatformTest::TemporaryDirectory temporary_{PlaceForFiles()};
  std::string host_ = temporary_.PathOf("host");
  std::string file_;
  FailingDisk disk_;
  Readers readers_{kFirst, kSecond};
  int rounds_ = 0;
};

}  // namespace
}  // namespace StressTest

int main(int argc, char** argv) {
  if (!StressTest::FailingDisk::IsPossible()) {
    std::printf("left out: stress.bad_blocks: needs FUSE and the right to mount\n");
    return 77;
  }
  return StressTest::RunProgram<StressTest::BadBlocks>(argc, argv, "--rounds");
}
