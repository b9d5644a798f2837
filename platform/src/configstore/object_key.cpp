#include "configstore/object_key.h"

#include <charconv>

namespace TavConfigStore {

const std::string kEmptyString;
const std::string sGlobalNamespace = "global";

namespace {

void AppendWithLength(const std::string& text, std::string* bytes) {
  bytes->append(std::to_string(text.size()));
  bytes->push_back(':');
  bytes->append(text);
  bytes->push_back(',');
}

bool TakeWithLength(std::string_view* bytes, std::string_view* text) {
  std::size_t length = 0;
  const char* const end = bytes->data() + bytes->size();
  const auto [stopped, error] = std::from_chars(bytes->data(), end, length);
  if (error != std::errc() || stopped == end || *stopped != ':') return false;
  const auto rest = static_cast<std::size_t>(end - stopped) - 1;
  if (length >= rest || stopped[1 + length] != ',') return false;
  *text = std::string_view(stopped + 1, length);
  *bytes = std::string_view(stopped + length + 2, rest - length - 1);
  return true;
}

}  // namespace

std::string EncodeKind(const ConfigStoreObjectId& id) {
  std::string kind;
  kind.reserve(id.component.size() + id.group.size() + id.key.size() + 16);
  AppendWithLength(id.component, &kind);
  AppendWithLength(id.group, &kind);
  AppendWithLength(id.key, &kind);
  return kind;
}

DecodedKind DecodeKind(std::string_view kind) {
  DecodedKind decoded;
  decoded.ok = TakeWithLength(&kind, &decoded.component) && TakeWithLength(&kind, &decoded.group) &&
               TakeWithLength(&kind, &decoded.key) && kind.empty();
  return decoded;
}

}  // namespace TavConfigStore
