// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "store/object_key.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>

namespace TavConfigStore {

// Short enough to be stored inside the string, so that exit handlers can still read them after the
// library's destructors ran.
const std::string kEmptyString;
const std::string sGlobalNamespace = "global";

namespace {

constexpr std::size_t kLongestNumber = std::numeric_limits<std::size_t>::digits10 + 1;

char* PutWithLength(const std::string& text, char* at) {
  at = std::to_chars(at, at + kLongestNumber, text.size()).ptr;
  *at++ = ':';
  at = std::copy(text.begin(), text.end(), at);
  *at++ = ',';
  return at;
}

bool TakeWithLength(std::string_view* bytes, std::string_view* text) {
  std::size_t length = 0;
  const char* const end = bytes->data() + bytes->size();
  const auto [stopped, error] = std::from_chars(bytes->data(), end, length);
  if (error != std::errc() || stopped == end || *stopped != ':') return false;
  if (bytes->front() == '0' && stopped != bytes->data() + 1)
    return false;  // only the canonical form
  const auto rest = static_cast<std::size_t>(end - stopped) - 1;
  if (length >= rest || stopped[1 + length] != ',') return false;
  *text = std::string_view(stopped + 1, length);
  *bytes = std::string_view(stopped + length + 2, rest - length - 1);
  return true;
}

}  // namespace

std::string EncodeKind(const ConfigStoreObjectId& id) {
  const std::size_t most =
      id.component.size() + id.group.size() + id.key.size() + 3 * (kLongestNumber + 2);
  char usual[256];
  const auto larger = most > sizeof usual ? std::make_unique<char[]>(most) : nullptr;
  char* const start = larger ? larger.get() : usual;
  char* at = PutWithLength(id.component, start);
  at = PutWithLength(id.group, at);
  at = PutWithLength(id.key, at);
  return std::string(start, at);
}

DecodedKind DecodeKind(std::string_view kind) {
  DecodedKind decoded;
  decoded.ok = TakeWithLength(&kind, &decoded.component) && TakeWithLength(&kind, &decoded.group) &&
               TakeWithLength(&kind, &decoded.key) && kind.empty();
  return decoded;
}

}  // namespace TavConfigStore
