// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// What the tests of the configuration file share: a host directory of their own, other processes,
// and short forms of what they do all the time.
#ifndef TESTS_CONFIGFILE_SUPPORT_H_
#define TESTS_CONFIGFILE_SUPPORT_H_

#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/admin.h"
#include "zynctl/config_file.h"

namespace ConfigFileTest {

using ZynCtl::Config::ConfigArray;
using ZynCtl::Config::ConfigBranch;
using ZynCtl::Config::ConfigFileException;
using ZynCtl::Config::SynchronizedConfigFile;
using Texts = std::vector<std::string>;

inline void Check(bool succeeded, const std::string& action) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), action);
}

// Files

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  Check(static_cast<bool>(file), path);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// In place: the inode stays.
inline void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  Check(static_cast<bool>(file.flush()), path);
}

// Puts a new file in the path's place, as an editor does.
inline void ReplaceFile(const std::string& path, std::string_view bytes) {
  WriteFile(path + ".sibling", bytes);
  Check(rename((path + ".sibling").c_str(), path.c_str()) == 0, path);
}

inline struct stat StatusOf(const std::string& path) {
  struct stat status;
  Check(lstat(path.c_str(), &status) == 0, path);
  return status;
}

inline unsigned ModeOf(const std::string& path) {
  return StatusOf(path).st_mode & 07777;
}

inline bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

inline Texts NamesIn(const std::string& directory) {
  Texts names;
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

inline std::string TemporariesPlace() {
  const char* const configured = std::getenv("TMPDIR");
  return configured != nullptr && *configured != '\0' ? configured : "/tmp";
}

// Every user may pass through it, so that tests can act as others within.
class TemporaryDirectory {
 public:
  explicit TemporaryDirectory(const std::string& parent = TemporariesPlace())
      : path_(parent + "/configfile-test-XXXXXX") {
    Check(mkdtemp(path_.data()) != nullptr && chmod(path_.c_str(), 0755) == 0, path_);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;  // a test that failed may have left what cannot be removed
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }
  std::string PathOf(const std::string& name) const { return path_ + '/' + name; }

 private:
  std::string path_;
};

// Starts with a host directory that does not exist until something is written.
class HostTest : public testing::Test {
 protected:
  explicit HostTest(const std::string& place = TemporariesPlace()) : temporary_(place) {
    HostPlatform::UseHostDirectory(HostPath());
    HostPlatform::UseLockTimeout(60'000);
  }

  std::string HostPath() const { return temporary_.PathOf("host"); }
  std::string PathOf(const std::string& name) const { return HostPath() + '/' + name; }
  std::string FilePath() const { return PathOf("host-config.json"); }
  std::string LockPath() const { return PathOf("host-config.lock"); }
  std::string Document() const { return ReadFile(FilePath()); }

  void MakeHost() const { Check(mkdir(HostPath().c_str(), 0750) == 0, HostPath()); }
  // The file as a person wrote it.
  void EditByHand(std::string_view document) const {
    if (!Exists(HostPath())) MakeHost();
    ReplaceFile(FilePath(), document);
  }

  TemporaryDirectory temporary_;
};

// The configuration file

inline constexpr char kBranch[] = "/Host/Test";

inline std::shared_ptr<ConfigBranch> BranchOf(const SynchronizedConfigFile& locked,
                                              const std::string& path = kBranch) {
  return locked.file->GetBranch(path);
}

// In a session of its own.
inline void Put(const std::string& key, const std::string& value,
                const std::string& path = kBranch) {
  const SynchronizedConfigFile locked;
  BranchOf(locked, path)->SetValue(key, value);
  locked.file->Write();
}

inline std::optional<std::string> Get(const std::string& key, const std::string& path = kBranch) {
  const SynchronizedConfigFile locked;
  std::string value;
  if (!BranchOf(locked, path)->GetValue(key, &value)) return std::nullopt;
  return value;
}

inline constexpr char kNothingRaised[] = "(nothing was raised)";

// The message of the ConfigFileException that the call raised. Other exceptions pass.
template <typename Call>
std::string MessageOf(Call call) {
  try {
    call();
  } catch (const ConfigFileException& failure) {
    return failure.what();
  }
  return kNothingRaised;
}

inline testing::AssertionResult Contains(const std::string& text, const std::string& part) {
  if (text.find(part) != std::string::npos) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "\"" << part << "\" is not in: " << text;
}

// Other processes

// A forked child that runs `body` and then ends without running anything else of the program. A
// failed expectation in the body, or an exception that leaves it, is printed and makes it fail.
class ChildProcess {
 public:
  explicit ChildProcess(const std::function<void()>& body) {
    std::fflush(nullptr);
    pid_ = fork();
    Check(pid_ >= 0, "fork");
    if (pid_ == 0) RunAndEnd(body);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() {
    if (!reaped_) Kill();
  }

  pid_t pid() const { return pid_; }
  void Stop() {
    kill(pid_, SIGSTOP);
    WaitFor(WUNTRACED);
  }
  void Continue() const { kill(pid_, SIGCONT); }
  void Kill() {
    kill(pid_, SIGKILL);
    WaitFor(0);
    reaped_ = true;
  }
  // Waits for its end; true when it ended by itself and nothing failed in it.
  bool Succeeds() {
    const int status = WaitFor(0);
    reaped_ = true;
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
  }

 private:
  [[noreturn]] static void RunAndEnd(const std::function<void()>& body) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    bool succeeded = true;
    const bool failedBefore = testing::Test::HasFailure();
    try {
      body();
    } catch (const std::exception& exception) {
      std::printf("exception left the child process: %s\n", exception.what());
      succeeded = false;
    }
    if (testing::Test::HasFailure() && !failedBefore) succeeded = false;
    std::fflush(nullptr);
    _exit(succeeded ? EXIT_SUCCESS : EXIT_FAILURE);
  }

  int WaitFor(int options) const {
    int status = 0;
    while (waitpid(pid_, &status, options) < 0 && errno == EINTR) {
    }
    return status;
  }

  pid_t pid_ = 0;
  bool reaped_ = false;
};

inline void RunInChild(const std::function<void()>& body) {
  ChildProcess child(body);
  EXPECT_TRUE(child.Succeeds()) << "a child process failed; see above";
}

// One process lets another go on. Made before the fork, known to both sides after it.
class Gate {
 public:
  Gate() : event_(eventfd(0, EFD_CLOEXEC | EFD_SEMAPHORE)) { Check(event_ >= 0, "eventfd"); }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  ~Gate() { close(event_); }

  void Open() const {  // lets one waiter through
    const std::uint64_t one = 1;
    Check(write(event_, &one, sizeof one) == sizeof one, "open a gate");
  }
  // False when nobody opened it in 60 s: the other side has died.
  bool Wait() const {
    struct pollfd event = {event_, POLLIN, 0};
    std::uint64_t count = 0;
    return poll(&event, 1, 60'000) == 1 && read(event_, &count, sizeof count) == sizeof count;
  }

 private:
  int event_;
};

inline constexpr uid_t kStranger = 54321;
inline constexpr uid_t kOwner = 54322;
inline constexpr gid_t kReaders = 54323;    // the host directory's group in tests of it
inline constexpr gid_t kOutsiders = 54324;  // another group

// For good, in these groups only (the first is its primary one). Meant for children.
inline void BecomeUser(uid_t user, const std::vector<gid_t>& groups) {
  Check(setgroups(groups.size(), groups.data()) == 0, "setgroups");
  Check(setgid(groups.front()) == 0 && setuid(user) == 0, "become another user");
}

}  // namespace ConfigFileTest

#endif  // TESTS_CONFIGFILE_SUPPORT_H_
