#include "io/fork.h"

#include <pthread.h>

#include "io/file_descriptor.h"

namespace HostPlatform::Io {
namespace {

constinit std::mutex descriptorMutex;
constinit std::mutex cacheMutex;

void BeforeFork() {
  descriptorMutex.lock();
  cacheMutex.lock();
}

void AfterForkInParent() {
  cacheMutex.unlock();
  descriptorMutex.unlock();
}

void AfterForkInChild() {
  FileDescriptor::CloseAllInChild();
  AfterForkInParent();
}

}  // namespace

void RegisterForkHandlers() {
  pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);
}

std::mutex& DescriptorMutex() {
  return descriptorMutex;
}

std::mutex& CacheMutex() {
  return cacheMutex;
}

}  // namespace HostPlatform::Io
