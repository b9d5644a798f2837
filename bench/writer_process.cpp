// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "writer_process.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "contestants.h"

namespace Bench {
namespace {

// Until the other side is closed.
void Serve(int socket, const Workload& workload, const std::vector<std::string>& contestants,
           const std::string& directory) {
  std::vector<std::unique_ptr<Catalogue>> opened(contestants.size());
  unsigned char wanted = 0;
  while (read(socket, &wanted, 1) == 1) {
    auto& catalogue = opened.at(wanted);
    if (!catalogue) catalogue = OpenCatalogue(contestants[wanted], directory);
    catalogue->Use();
    catalogue->ReplacePolicies(workload.policies);
    if (write(socket, &wanted, 1) != 1) return;
  }
}

}  // namespace

WriterProcess::WriterProcess(const Workload& workload, const std::vector<std::string>& contestants,
                             const std::string& directory) {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  child_ = fork();
  if (child_ == 0) {
    close(sockets[0]);
    int status = 0;
    try {
      Serve(sockets[1], workload, contestants, directory);
    } catch (const std::exception& error) {
      std::cerr << "store_benchmark: the writer: " << error.what() << '\n';
      status = 1;
    }
    _exit(status);  // what the parent has made is not the child's to destroy
  }
  socket_ = sockets[0];
  close(sockets[1]);
  if (child_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
}

WriterProcess::~WriterProcess() {
  close(socket_);
  waitpid(child_, nullptr, 0);
}

void WriterProcess::Commit(std::size_t contestant) const {
  unsigned char number = static_cast<unsigned char>(contestant);
  if (write(socket_, &number, 1) != 1 || read(socket_, &number, 1) != 1) {
    throw std::runtime_error("the writer is gone");
  }
}

}  // namespace Bench
