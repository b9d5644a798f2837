// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "readers.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <system_error>

#include "catalogue_sets.h"
#include "tavconfigstore/exception.h"
#include "zynctl/exception.h"

namespace StressTest {

using TavQuor::QuorLib;

namespace {

constexpr unsigned kPatience = 60;  // seconds of one call

int NumberOrNone(const std::string& blob) try {
  return NumberOfBlob(blob);
} catch (const std::runtime_error&) {
  return -1;
}

}  // namespace

void Readers::Start(int count, PlatformTest::Random* random) {
  for (int i = 0; i < count; ++i) {
    const std::uint64_t seed = random->Number();
    const pid_t reader = fork();
    if (reader < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (reader == 0) Run(seed);
    processes_.push_back(reader);
  }
}

void Readers::Run(std::uint64_t seed) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  PlatformTest::Random random(seed);
  while (!notes_->stopped) {
    alarm(kPatience);
    Read(&random);
  }
  _exit(0);
}

void Readers::Stop() {
  notes_->stopped = true;
  int ended = 0;
  for (const pid_t process : processes_) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (status != 0) ++ended;
    if (WIFSIGNALED(status)) std::printf("a reader was ended by signal %d\n", WTERMSIG(status));
  }
  if (ended != 0) throw std::runtime_error(std::to_string(ended) + " readers ended");
}

void Readers::Read(PlatformTest::Random* random) {
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

void Readers::Expect(const std::string& blob, int policy, int blobNamespace) {
  const int number = NumberOrNone(blob);
  if (std::none_of(sets_.begin(), sets_.end(),
                   [&](int set) { return number == BlobIn(set, policy, blobNamespace); }))
    ++notes_->wrong;
}

}  // namespace StressTest
