// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// A stored sample to be damaged, and what a reader then gets.
#ifndef TESTS_PLATFORM_DAMAGE_DAMAGE_TEST_H_
#define TESTS_PLATFORM_DAMAGE_DAMAGE_TEST_H_

#include <functional>
#include <string>
#include <string_view>

#include "support/host_test.h"
#include "support/model.h"

namespace PlatformTest {

class DamageTest : public HostTest {
 protected:
  DamageTest();

  // Puts the bytes in the snapshot's place, as a file of its own.
  void StoreBytes(std::string_view bytes) const;
  // The stored sample with the bytes at the first place where `text` stands replaced.
  std::string SampleWith(const std::string& text, const std::string& replacement) const;

  // Asks everything about the sample. Right answers, and kCorrupt or kUnsupported in place of an
  // answer, are what may come; anything else is told in `wrong`.
  struct Answers {
    bool raised = false;
    std::string wrong;
  };
  Answers AskEverything() const;

  State sample_;
  std::string bytes_;  // of the undamaged snapshot

 private:
  static void Ask(Answers* answers, const std::string& question, const std::function<bool()>& ask);
  void AskKind(Answers* answers, const Store& store, const std::string& kind) const;
};

}  // namespace PlatformTest

#endif  // TESTS_PLATFORM_DAMAGE_DAMAGE_TEST_H_
