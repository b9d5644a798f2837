// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "disk.h"

#include <algorithm>

namespace StressTest {
namespace {

using Kind = FileOperation::Kind;

constexpr std::size_t kSector = 512;

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

// The part of the write from `start` to `end`, places in the file.
void Put(const FileOperation& write, std::size_t start, std::size_t end, std::string* content) {
  if (content->size() < end) content->resize(end, '\0');
  content->replace(start, end - start, write.bytes, start - write.offset, end - start);
}

}  // namespace

void Disk::Apply(const FileOperation& operation) {
  switch (operation.kind) {
    case Kind::kCreate:
      files_.emplace_back();
      ChangeName(operation.name, operation.file);
      break;
    case Kind::kWrite:
    case Kind::kCut: {
      File& file = files_.at(static_cast<std::size_t>(operation.file));
      file.changes.push_back(operation);
      if (operation.kind == Kind::kCut) {
        file.present.resize(operation.offset);
      } else {
        Put(operation, operation.offset, operation.offset + operation.bytes.size(), &file.present);
      }
      break;
    }
    case Kind::kFlush: {
      File& file = files_.at(static_cast<std::size_t>(operation.file));
      file.flushed = file.present;
      file.changes.clear();
      break;
    }
    case Kind::kMakeDirectory:
      ChangeName(operation.name, kDirectory);
      break;
    case Kind::kFlushDirectory:
      FlushDirectory(operation.name);
      break;
    case Kind::kRename:
      ChangeName(operation.newName, presentNames_.at(operation.name));
      ChangeName(operation.name, kRemoved);
      break;
    case Kind::kRemove:
      ChangeName(operation.name, kRemoved);
      break;
    case Kind::kMark:
      break;
  }
}

void Disk::Change(const NameChange& change, Names* names) {
  if (change.file == kRemoved) {
    names->erase(change.name);
  } else {
    (*names)[change.name] = change.file;
  }
}

void Disk::ChangeName(const std::string& name, int file) {
  nameChanges_.push_back({name, file});
  Change(nameChanges_.back(), &presentNames_);
}

void Disk::FlushDirectory(const std::string& path) {
  std::erase_if(nameChanges_, [&](const NameChange& change) {
    if (DirectoryOf(change.name) != path) return false;
    Change(change, &flushedNames_);
    return true;
  });
}

std::string Disk::Survivor(const File& file, const Survival& survival) {
  std::string content = file.flushed;
  std::vector<std::size_t> sizes = {content.size()};
  for (const FileOperation& change : file.changes) {
    const std::size_t end = change.offset + change.bytes.size();  // no bytes: a cut
    sizes.push_back(change.kind == Kind::kCut ? end : std::max(end, sizes.back()));
    for (std::size_t start = change.offset; start < end;) {
      const std::size_t sectorEnd = std::min(end, (start / kSector + 1) * kSector);
      if (survival.sector()) Put(change, start, sectorEnd, &content);
      start = sectorEnd;
    }
  }
  content.resize(sizes.at(survival.size(sizes.size())), '\0');
  return content;
}

FilesOnDisk Disk::AfterLossOfPower(const Survival& survival) const {
  Names names = flushedNames_;
  for (const NameChange& change : nameChanges_) {
    if (survival.name()) Change(change, &names);
  }
  FilesOnDisk found;
  for (const auto& [name, file] : names) {  // in their order a directory comes before what is in it
    const std::string directory = DirectoryOf(name);
    if (!directory.empty() && !found.contains(directory + '/')) continue;
    if (file == kDirectory) {
      found[name + '/'] = "";
    } else {
      found[name] = Survivor(files_.at(static_cast<std::size_t>(file)), survival);
    }
  }
  return found;
}

}  // namespace StressTest
