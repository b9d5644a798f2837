// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "io/fork.h"

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <memory>

#include "io/file_descriptor.h"

namespace HostPlatform::Io {
namespace {

constinit std::mutex parserMutex;
constinit std::mutex makingMutex;
constinit std::atomic<unsigned> generation{0};
constinit std::mutex featuresMutex;
constinit std::mutex descriptorMutex;

struct alignas(64) CacheLock {
  std::mutex mutex;
};
constinit CacheLock cacheLocks[kCachePlaces];

void BeforeFork() {
  makingMutex.lock();
  featuresMutex.lock();
  descriptorMutex.lock();
  for (CacheLock& lock : cacheLocks)
    lock.mutex.lock();
}

void AfterForkInParent() {
  for (CacheLock& lock : cacheLocks)
    lock.mutex.unlock();
  descriptorMutex.unlock();
  featuresMutex.unlock();
  makingMutex.unlock();
}

void AfterForkInChild() {
  ++generation;
  std::construct_at(&parserMutex);  // whoever held it is not in this process
  FileDescriptor::CloseAllInChild();
  AfterForkInParent();
}

}  // namespace

void RegisterForkHandlers() {
  pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);
}

std::mutex& ParserMutex() {
  return parserMutex;
}

std::mutex& MakingMutex() {
  return makingMutex;
}

unsigned Generation() {
  return generation.load();
}

std::mutex& FeaturesMutex() {
  return featuresMutex;
}

std::mutex& DescriptorMutex() {
  return descriptorMutex;
}

std::mutex& CacheMutex(unsigned place) {
  return cacheLocks[place].mutex;
}

unsigned CachePlace() {
  const int processor = sched_getcpu();
  return processor < 0 ? 0 : static_cast<unsigned>(processor) % kCachePlaces;
}

}  // namespace HostPlatform::Io
