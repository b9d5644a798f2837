// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "bytes.h"

#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace QuorC {
namespace {

// Allocator of std::string, which allocates its capacity and the NUL. `reserved` is the capacity.
using Allocator = std::allocator<char>;

bool IsWithin(const char* data, const unsigned char* object, std::size_t size) {
  const auto* const place = reinterpret_cast<const unsigned char*>(data);
  return place >= object && place < object + size;
}

}  // namespace

quor_bytes Release(std::string&& text) {
  if (text.empty()) return kNoBytes;
  // A string that is never destroyed: its memory is freed by quor_bytes_free().
  alignas(std::string) unsigned char place[sizeof(std::string)];
  const auto* const kept = new (place) std::string(std::move(text));
  if (!IsWithin(kept->data(), place, sizeof place)) {
    return quor_bytes{kept->data(), kept->size(), kept->capacity()};
  }
  // A short string is stored inside the object and must be copied.
  char* const copy = Allocator().allocate(kept->size() + 1);
  std::memcpy(copy, kept->data(), kept->size() + 1);
  return quor_bytes{copy, kept->size(), kept->size()};
}

}  // namespace QuorC

void quor_bytes_free(quor_bytes* bytes) {
  if (bytes == nullptr) return;
  if (bytes->reserved != 0) {
    QuorC::Allocator().deallocate(const_cast<char*>(bytes->data), bytes->reserved + 1);
  }
  *bytes = QuorC::kNoBytes;
}
