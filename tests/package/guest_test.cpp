// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The library as a guest in somebody else's process: what it takes and what it leaves behind.
//
// The library is loaded by hand, from the path in the environment variable LIBQUOR, as a plug-in
// would do it.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "quor/quor_lib.h"

namespace {

using TavQuor::QuorDatastoreInfo;
using TavQuor::QuorPolicyInfo;

constexpr char kAdd[] =
    "_ZN7TavQuor7QuorLib13AddPolicyInfoERKSt6vectorINS_14QuorPolicyInfoESaIS2_EE";
constexpr char kList[] = "_ZN7TavQuor7QuorLib14ListPolicyInfoEv";
constexpr char kListDatastores[] = "_ZN7TavQuor7QuorLib17ListDatastoreInfoEv";
constexpr char kBlobByName[] =
    "_ZN7TavQuor7QuorLib23GetRilkPolicyBlobByNameERKNSt7__cxx1112basic_stringIcSt11char_traitsIcE"
    "SaIcEEE";

constexpr int kRounds = 1000;

// How many mappings more there may be after kRounds of loading and unloading. The allocator takes a
// few when it likes, and those of the sanitizers more and more of them; one leaked in each round
// would be kRounds.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kMoreMappings = kRounds / 2;
#else
constexpr std::size_t kMoreMappings = 8;
#endif

// And how much more memory. A sanitizer keeps what was given back, and tells of leaks itself.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kMoreKilobytes = 1 << 20;
#else
constexpr long kMoreKilobytes = 16 << 10;
#endif

std::vector<QuorPolicyInfo> Catalogue(std::size_t policies) {
  std::vector<QuorPolicyInfo> catalogue(policies);
  for (std::size_t i = 0; i < policies; ++i) {
    catalogue[i].name = "policy " + std::to_string(i);
    catalogue[i].policyId = "id-" + std::to_string(i);
    catalogue[i].blobs.emplace_back(std::string(512, static_cast<char>('a' + i % 26)), "RILK");
  }
  return catalogue;
}

// The loaded library; unloaded at the end.
class LoadedLibrary {
 public:
  LoadedLibrary() : handle_(dlopen(std::getenv("LIBQUOR"), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  ~LoadedLibrary() { dlclose(handle_); }

  void Add(const std::vector<QuorPolicyInfo>& policies) const { Call<void>(kAdd, policies); }
  std::vector<QuorPolicyInfo> List() const { return Call<std::vector<QuorPolicyInfo>>(kList); }
  std::vector<QuorDatastoreInfo> ListDatastores() const {
    return Call<std::vector<QuorDatastoreInfo>>(kListDatastores);
  }
  std::string BlobByName(const std::string& name) const {
    return Call<std::string>(kBlobByName, name);
  }

 private:
  // An exception of the library's is code of the library too: it is replaced by one that outlives
  // it.
  template <typename Result, typename... Arguments>
  Result Call(const char* symbol, const Arguments&... arguments) const {
    void* const address = dlsym(handle_, symbol);
    if (address == nullptr) throw std::runtime_error(dlerror());
    try {
      return reinterpret_cast<Result (*)(const Arguments&...)>(address)(arguments...);
    } catch (const std::exception& failure) {
      throw std::runtime_error(failure.what());
    }
  }

  void* handle_;
};

std::vector<std::string> Mappings() {
  std::vector<std::string> mappings;
  std::ifstream file("/proc/self/maps");
  for (std::string line; std::getline(file, line);) {
    mappings.push_back(line);
  }
  return mappings;
}

std::size_t MappingsOf(const std::string& part) {
  std::size_t count = 0;
  for (const std::string& mapping : Mappings()) {
    count += mapping.find(part) != std::string::npos;
  }
  return count;
}

// By the files' own names: any directory may be named after the library.
std::size_t MappingsOfLibraries() {
  std::size_t count = 0;
  for (const std::string& mapping : Mappings()) {
    const std::size_t slash = mapping.rfind('/');
    count += slash != std::string::npos && mapping.compare(slash + 1, 7, "libquor") == 0;
  }
  return count;
}

std::size_t EntriesOf(const char* directory) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

std::size_t OpenDescriptors() {
  return EntriesOf("/proc/self/fd");
}
std::size_t Threads() {
  return EntriesOf("/proc/self/task");
}

long ResidentKilobytes() {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
  }
  throw std::runtime_error("/proc/self/status has no VmRSS");
}

// Runs `body` in a child process; returns its exit status, or -1 when it was killed. Nothing of
// this test program's own is printed or reported there.
int InChild(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    int status = 99;
    try {
      status = body();
    } catch (...) {
    }
    _exit(status);
  }
  int state = 0;
  if (waitpid(child, &state, 0) != child || !WIFEXITED(state)) return -1;
  return WEXITSTATUS(state);
}

class Guest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "quor-guest-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    host_ = pattern;
    ASSERT_EQ(setenv("QUOR_HOST_DIR", host_.c_str(), 1), 0);
  }
  void TearDown() override { std::filesystem::remove_all(host_); }

  std::string host_;
};

enum class Calls { kRead, kWriteAndRead };

void CallFromAThread(const LoadedLibrary& library, Calls calls) {
  std::thread([&library, calls] {
    if (calls == Calls::kWriteAndRead) library.Add(Catalogue(3));
    EXPECT_EQ(library.List().size(), 3U);
    EXPECT_EQ(library.BlobByName("policy 1"), std::string(512, 'b'));
  }).join();
}

TEST_F(Guest, LoadingAndUnloadingInALoopLeavesNothingBehind) {
  const std::size_t descriptors = OpenDescriptors();
  std::size_t mappings = 0;
  for (int round = 0; round < kRounds; ++round) {
    {
      const LoadedLibrary library;
      // Most rounds do not wait for the disk.
      CallFromAThread(library, round % 20 == 0 ? Calls::kWriteAndRead : Calls::kRead);
    }
    // By then the allocator and the thread library have what they keep for good.
    if (round == kRounds / 10) mappings = Mappings().size();
  }
  EXPECT_EQ(OpenDescriptors(), descriptors);
  EXPECT_EQ(MappingsOf(host_), 0U);
  EXPECT_EQ(MappingsOfLibraries(), 0U);
  EXPECT_LE(Mappings().size(), mappings + kMoreMappings);
}

// What the process keeps of the stores goes with the library.
TEST_F(Guest, LoadingAndUnloadingInALoopDoesNotPileUpMemory) {
  for (const char state : {'\1', '\0'}) {
    std::ofstream(host_ + "/features", std::ios::binary) << std::string(256, state);
    LoadedLibrary().Add(Catalogue(1000));
    long before = 0;
    for (int round = 0; round < 110; ++round) {
      EXPECT_EQ(LoadedLibrary().List().size(), 1000U);
      if (round == 10) before = ResidentKilobytes();
    }
    EXPECT_LT(ResidentKilobytes(), before + kMoreKilobytes) << "switch " << static_cast<int>(state);
  }
}

// A destructor of the thread that the library left behind would be called where no code is.
TEST_F(Guest, AThreadThatCalledMayEndAfterTheLibraryIsUnloaded) {
  LoadedLibrary().Add(Catalogue(1));
  for (int round = 0; round < kRounds; ++round) {
    std::atomic<bool> called{false};
    std::atomic<bool> unloaded{false};
    std::thread thread;
    {
      const LoadedLibrary library;
      thread = std::thread([&] {
        EXPECT_NE(library.BlobByName("policy 0"), "");
        called.store(true);
        called.notify_one();
        unloaded.wait(false);
      });
      called.wait(false);
    }
    unloaded.store(true);
    unloaded.notify_one();
    thread.join();
  }
  EXPECT_EQ(MappingsOfLibraries(), 0U);
  EXPECT_EQ(MappingsOf(host_), 0U);
}

// While other threads are inside calls: the child has one thread, and the locks that the others
// held at the fork are in its copy of the memory.
TEST_F(Guest, AChildThatIsForkedInTheMiddleOfCallsMayCall) {
  const LoadedLibrary library;
  library.Add(Catalogue(5));
  std::vector<std::jthread> callers;
  callers.reserve(3);
  for (int i = 0; i < 3; ++i) {
    callers.emplace_back([&library](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        library.Add(Catalogue(5));
        library.List();
      }
    });
  }
  for (int child = 0; child < 20; ++child) {
    EXPECT_EQ(InChild([&library] {
                alarm(60);  // a child that waits for ever is killed
                library.Add(Catalogue(5));
                return library.List().size() == 5 ? 0 : 1;
              }),
              0);
  }
}

// A handler that was registered before the library was loaded runs after the library's own
// destructors. Memory that they gave back is used again before the calls.
bool CallsInTheLastExitHandlerAreRight() {
  static const LoadedLibrary* library = nullptr;
  const int status = InChild([] {
    const auto handler = [] {
      const std::vector<std::string> others(2000, std::string(24, '/'));
      library->Add(Catalogue(2));
      _exit(library->BlobByName("policy 1") == std::string(512, 'b') && library->List().size() == 2
                ? 0
                : 1);
    };
    if (std::atexit(handler) != 0) return 2;
    library = new LoadedLibrary();
    InChild([] {  // so that the handler is the first that reads what is stored
      library->Add(Catalogue(1));
      return 0;
    });
    std::exit(3);
  });
  return status == 0;
}

TEST_F(Guest, CallsInTheLastExitHandlerAreRightOverTheStore) {
  EXPECT_TRUE(CallsInTheLastExitHandlerAreRight());
}

TEST_F(Guest, CallsInTheLastExitHandlerAreRightOverTheFile) {
  std::ofstream(host_ + "/features") << std::string(256, '\0');
  EXPECT_TRUE(CallsInTheLastExitHandlerAreRight());
  EXPECT_TRUE(std::filesystem::exists(host_ + "/host-config.json"));
}

TEST_F(Guest, ACallLeavesErrnoAsItWas) {
  const LoadedLibrary library;
  const std::vector<std::function<void()>> calls = {
      [&] { library.BlobByName("on an empty host"); },
      [&] { library.Add(Catalogue(2)); },
      [&] { library.Add({}); },
      [&] { library.List(); },
      [&] { library.ListDatastores(); },
      [&] { library.BlobByName("policy 1"); },
      [&] { library.BlobByName("unknown"); },
  };
  for (std::size_t i = 0; i < calls.size(); ++i) {
    errno = ENOTNAM;
    calls[i]();
    EXPECT_EQ(errno, ENOTNAM) << "call number " << i;
  }
}

TEST_F(Guest, NothingIsPrintedAlsoWhenACallFails) {
  const std::string output = host_ + "/output";
  const int status = InChild([&] {
    const int file = open(output.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    if (dup2(file, STDOUT_FILENO) < 0 || dup2(file, STDERR_FILENO) < 0) return 1;
    const LoadedLibrary library;
    CallFromAThread(library, Calls::kWriteAndRead);
    std::filesystem::resize_file(host_ + "/config-store.cdb", 100);
    try {
      library.List();
    } catch (const std::exception&) {
      return 0;
    }
    return 2;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(std::filesystem::file_size(output), 0U);
}

TEST_F(Guest, NoThreadIsStartedAndNoSignalHandlerIsInstalled) {
  const std::size_t threads = Threads();
  std::vector<decltype(sigaction::sa_handler)> before;
  const auto handlers = [] {
    std::vector<decltype(sigaction::sa_handler)> all;
    for (int signal = 1; signal < NSIG; ++signal) {
      struct sigaction action = {};
      if (sigaction(signal, nullptr, &action) == 0) all.push_back(action.sa_handler);
    }
    return all;
  };
  before = handlers();
  const LoadedLibrary library;
  library.Add(Catalogue(2));
  EXPECT_EQ(library.List().size(), 2U);
  EXPECT_EQ(Threads(), threads);
  EXPECT_EQ(handlers(), before);
}

// A daemon that closed its standard descriptors still has code that prints to them. While it does,
// many replacements are made; none of the text may reach the store, not even for the moment in
// which a file has been opened and not yet been moved above 2. Written is by position, which only
// a file takes: a sanitizer opens pipes of its own at these numbers.
TEST_F(Guest, StrayOutputOfAProcessWithoutStandardDescriptorsDoesNotReachTheStore) {
  const int status = InChild([] {
    for (const int descriptor : {0, 1, 2}) {
      close(descriptor);
    }
    const LoadedLibrary library;
    std::atomic<int> landed{0};
    std::jthread noise([&landed](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        for (const int descriptor : {0, 1, 2}) {
          landed += pwrite(descriptor, "noise", 5, 0) == 5;
        }
      }
    });
    for (int round = 0; round < 600; ++round) {
      library.Add(Catalogue(20));
    }
    noise.request_stop();
    noise.join();
    return landed == 0 ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
  const LoadedLibrary library;
  const std::vector<QuorPolicyInfo> wanted = Catalogue(20);
  const std::vector<QuorPolicyInfo> found = library.List();
  ASSERT_EQ(found.size(), wanted.size());
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    EXPECT_EQ(found[i].policyId, wanted[i].policyId);
    EXPECT_EQ(found[i].blobs, wanted[i].blobs);
  }
}

}  // namespace
