// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// Fetched objects, which keep their source alive.
#ifndef PLATFORM_SRC_STORE_FETCHED_H_
#define PLATFORM_SRC_STORE_FETCHED_H_

#include <memory>
#include <utility>

#include "store/object_contents.h"

namespace TavConfigStore {

// An object and the pointer that pins its bytes, in one allocation.
template <typename Object>
struct Fetched {
  Fetched(std::shared_ptr<const RecordSource> origin, std::uint32_t number, std::string_view body)
      : source(std::move(origin)), object(&source, number, body) {}

  std::shared_ptr<const RecordSource> source;
  Object object;
};

template <typename Object>
std::shared_ptr<Object> Fetch(std::shared_ptr<const RecordSource> source, std::uint32_t number,
                              std::string_view body) {
  auto fetched = std::make_shared<Fetched<Object>>(std::move(source), number, body);
  Object* const object = &fetched->object;
  return std::shared_ptr<Object>(std::move(fetched), object);
}

}  // namespace TavConfigStore

#endif  // PLATFORM_SRC_STORE_FETCHED_H_
