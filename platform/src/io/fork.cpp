#include "io/fork.h"

#include <pthread.h>

#include "io/file_descriptor.h"

namespace HostPlatform::Io {
namespace {

constinit std::mutex descriptorMutex;
constinit std::mutex snapshotMutex;

void BeforeFork() {
  descriptorMutex.lock();
  snapshotMutex.lock();
}

void AfterForkInParent() {
  snapshotMutex.unlock();
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

std::mutex& SnapshotMutex() {
  return snapshotMutex;
}

}  // namespace HostPlatform::Io
