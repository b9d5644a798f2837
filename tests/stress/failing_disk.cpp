// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "failing_disk.h"

#define FUSE_USE_VERSION 31
#include <dirent.h>
#include <fcntl.h>
#include <fuse.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace StressTest {
namespace {

// Of the process that answers the kernel.
struct Server {
  int directory = -1;
  std::string file;  // as FUSE names it: with a slash before it
  FailingDisk::BadBlocks* blocks = nullptr;
};
Server server;

const char* Below(const char* path) {
  return path[1] == '\0' ? "." : path + 1;
}

int Result(int result) {
  return result < 0 ? -errno : result;
}

// A handle is a descriptor, and whether it is of the file that may be bad. An open file keeps what
// it is when another one gets its name.
constexpr std::uint64_t kMayBeBad = std::uint64_t{1} << 32;

int DescriptorOf(const fuse_file_info* info) {
  return static_cast<int>(info->fh & ~kMayBeBad);
}

int Open(const char* path, int flags, mode_t mode, fuse_file_info* info) {
  const int fd = openat(server.directory, Below(path), flags | O_CLOEXEC, mode);
  if (fd < 0) return -errno;
  info->fh = static_cast<std::uint64_t>(fd) | (path == server.file ? kMayBeBad : 0);
  return 0;
}

int Read(const char* /*path*/, char* bytes, std::size_t size, off_t offset, fuse_file_info* info) {
  const bool isBad = (info->fh & kMayBeBad) != 0 && offset < server.blocks->end &&
                     offset + static_cast<off_t>(size) > server.blocks->begin;
  if (isBad) {
    ++server.blocks->refused;
    return -EIO;
  }
  return Result(static_cast<int>(pread(DescriptorOf(info), bytes, size, offset)));
}

// The one directory that there is.
int List(const char* /*path*/, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/,
         fuse_file_info* /*info*/, fuse_readdir_flags /*flags*/) {
  const int fd = openat(server.directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* const directory = fd < 0 ? nullptr : fdopendir(fd);
  if (directory == nullptr) return -errno;
  while (const dirent* const entry = readdir(directory)) {
    fill(buffer, entry->d_name, nullptr, 0, fuse_fill_dir_flags{});
  }
  closedir(directory);
  return 0;
}

fuse_operations Operations() {
  fuse_operations all = {};
  all.init = [](fuse_conn_info*, fuse_config* config) -> void* {
    config->use_ino = 1;
    config->hard_remove = 1;
    config->nullpath_ok = 1;
    config->entry_timeout = config->attr_timeout = config->negative_timeout = 0;
    return nullptr;
  };
  all.getattr = [](const char* path, struct stat* status, fuse_file_info* info) {
    if (info != nullptr) return Result(fstat(DescriptorOf(info), status));
    return Result(fstatat(server.directory, Below(path), status, AT_SYMLINK_NOFOLLOW));
  };
  all.open = [](const char* path, fuse_file_info* info) {
    return Open(path, info->flags, 0, info);
  };
  all.create = [](const char* path, mode_t mode, fuse_file_info* info) {
    return Open(path, info->flags | O_CREAT, mode, info);
  };
  all.read = Read;
  all.write = [](const char*, const char* bytes, std::size_t size, off_t offset,
                 fuse_file_info* info) {
    return Result(static_cast<int>(pwrite(DescriptorOf(info), bytes, size, offset)));
  };
  all.release = [](const char*, fuse_file_info* info) { return Result(close(DescriptorOf(info))); };
  all.fsync = [](const char*, int, fuse_file_info*) { return 0; };
  all.fsyncdir = [](const char*, int, fuse_file_info*) { return 0; };
  all.readdir = List;
  all.truncate = [](const char* path, off_t size, fuse_file_info* info) {
    if (info != nullptr) return Result(ftruncate(DescriptorOf(info), size));
    const int fd = openat(server.directory, Below(path), O_WRONLY | O_CLOEXEC);
    const int result = Result(ftruncate(fd, size));
    close(fd);
    return result;
  };
  all.chmod = [](const char* path, mode_t mode, fuse_file_info* info) {
    if (info != nullptr) return Result(fchmod(DescriptorOf(info), mode));
    return Result(fchmodat(server.directory, Below(path), mode, 0));
  };
  all.chown = [](const char* path, uid_t user, gid_t group, fuse_file_info* info) {
    if (info != nullptr) return Result(fchown(DescriptorOf(info), user, group));
    return Result(fchownat(server.directory, Below(path), user, group, AT_SYMLINK_NOFOLLOW));
  };
  all.rename = [](const char* from, const char* to, unsigned flags) {
    return Result(renameat2(server.directory, Below(from), server.directory, Below(to), flags));
  };
  all.unlink = [](const char* path) { return Result(unlinkat(server.directory, Below(path), 0)); };
  return all;
}

// Returns when it is unmounted.
void Serve(const std::string& directory, const std::string& mountPoint) {
  umask(0);
  server.directory = open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  char name[] = "failing_disk";
  char* arguments[] = {name, nullptr};
  fuse_args options = FUSE_ARGS_INIT(1, arguments);
  const fuse_operations operations = Operations();
  fuse* const session = fuse_new(&options, &operations, sizeof operations, nullptr);
  if (session == nullptr || fuse_mount(session, mountPoint.c_str()) != 0)
    throw std::runtime_error(mountPoint + ": cannot be mounted");
  if (fuse_loop(session) < 0) throw std::runtime_error(mountPoint + ": cannot be served");
  fuse_destroy(session);
}

bool IsMounted(const std::string& path) {
  struct stat here, above;
  return stat(path.c_str(), &here) == 0 && stat((path + "/..").c_str(), &above) == 0 &&
         here.st_dev != above.st_dev;
}

}  // namespace

bool FailingDisk::IsPossible() {
  const int device = open("/dev/fuse", O_RDWR | O_CLOEXEC);
  if (device < 0) return false;
  close(device);
  // A mount that the kernel refuses for its missing descriptor, and not for the lack of a right.
  return mount("none", "/", "fuse", MS_SILENT, "") == 0 || errno != EPERM;
}

FailingDisk::FailingDisk(const std::string& directory, const std::string& mountPoint,
                         const std::string& file)
    : mountPoint_(mountPoint), file_(file) {
  for (const std::string& path : {directory, mountPoint}) {
    if (mkdir(path.c_str(), 0755) != 0)
      throw std::system_error(errno, std::generic_category(), path);
  }
  Start(directory);
  constexpr int kPatience = 10'000;  // ms
  for (int waited = 0; !IsMounted(mountPoint); ++waited) {
    if (waited == kPatience) throw std::runtime_error(mountPoint + ": was not mounted");
    usleep(1000);
  }
}

void FailingDisk::Start(const std::string& directory) {
  server_ = fork();
  if (server_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (server_ != 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  server.file = '/' + file_;
  server.blocks = &*blocks_;
  try {
    Serve(directory, mountPoint_);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
  }
  _exit(0);
}

FailingDisk::~FailingDisk() {
  umount2(mountPoint_.c_str(), MNT_DETACH);
  kill(server_, SIGKILL);
  waitpid(server_, nullptr, 0);
}

void FailingDisk::Fail(off_t begin, off_t end) {
  blocks_->end = 0;  // never a mixture
  blocks_->begin = begin;
  blocks_->end = end;
  ForgetPages();
}

// Each new opening has FUSE forget the pages of a file, mapped ones too.
void FailingDisk::ForgetPages() const {
  const int fd = open((mountPoint_ + '/' + file_).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd >= 0) close(fd);
}

}  // namespace StressTest
