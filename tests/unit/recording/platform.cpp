// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "recording/platform.h"

#include <ostream>
#include <utility>

namespace Recording {
namespace {

void PrintValues(const Values& values, std::ostream* out) {
  for (const auto& [key, value] : values) {
    *out << ' ' << key << '=';
    if (const auto* text = std::get_if<std::string>(&value)) {
      *out << Quoted(*text);
    } else {
      *out << std::get<long long>(value);
    }
  }
}

std::string WithInstance(std::string label, const std::string& instance) {
  if (!instance.empty()) label += '[' + Quoted(instance) + ']';
  return label;
}

void LogAndLetFail(const std::string& line) {
  Platform& platform = ThePlatform();
  platform.log.push_back(line);
  if (platform.duringStoreCall) {
    platform.duringStoreCall(platform.storeCalls + platform.fileCalls, line);
  }
}

}  // namespace

Platform& ThePlatform() {
  static Platform platform;
  return platform;
}

void RestartPlatform() {
  Platform restarted;
  restarted.liveHandles = ThePlatform().liveHandles;
  restarted.liveObjects = ThePlatform().liveObjects;
  restarted.liveFileHandles = ThePlatform().liveFileHandles;
  restarted.locks = ThePlatform().locks - ThePlatform().unlocks;
  ThePlatform() = std::move(restarted);
  SetConfigStoreSwitch(1);
}

void LogCall(std::string line) {
  ThePlatform().log.push_back(std::move(line));
}

void LogStoreCall(const std::string& line) {
  ++ThePlatform().storeCalls;
  LogAndLetFail(line);
}

void LogFileCall(const std::string& line) {
  ++ThePlatform().fileCalls;
  LogAndLetFail(line);
}

std::string Quoted(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string quoted = "\"";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f && c != '"' && c != '\\') {
      quoted += c;
    } else {
      quoted += "\\x";
      quoted += kDigits[byte >> 4];
      quoted += kDigits[byte & 15];
    }
  }
  return quoted + '"';
}

std::string Label(const TavConfigStore::ConfigStoreObjectId& id) {
  return WithInstance(id.key + "/" + id.group + "/" + id.component, id.instance);
}

std::string Label(const TavConfigStore::SubObjectId& id) {
  return WithInstance(id.name, id.instance);
}

void PrintTo(const StoredSubObject& subObject, std::ostream* out) {
  *out << " {" << Label(TavConfigStore::SubObjectId(subObject.name, subObject.instance));
  PrintValues(subObject.values, out);
  *out << "}";
}

void PrintTo(const StoredObject& object, std::ostream* out) {
  *out << Label(TavConfigStore::ConfigStoreObjectId(object.key, object.group, object.component,
                                                    object.instance));
  PrintValues(object.values, out);
  for (const StoredSubObject& subObject : object.subObjects)
    PrintTo(subObject, out);
}

void PrintTo(const FileBranch& branch, std::ostream* out) {
  *out << "{";
  for (const auto& [key, text] : branch.values)
    *out << ' ' << key << '=' << Quoted(text);
  for (const auto& [name, instances] : branch.arrays) {
    *out << ' ' << name << "=[";
    for (const FileBranch& instance : instances)
      PrintTo(instance, out);
    *out << ']';
  }
  *out << " }";
}

}  // namespace Recording
