// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// POSIX access control lists, set as the kernel takes them: the programs for it may not be
// installed.
#ifndef TESTS_CONFIGFILE_ACCESS_LIST_H_
#define TESTS_CONFIGFILE_ACCESS_LIST_H_

#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/xattr.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "support.h"

namespace ConfigFileTest {

inline constexpr char kAccessList[] = "system.posix_acl_access";
inline constexpr char kDefaultList[] = "system.posix_acl_default";  // of a directory

// The owner reads and writes, `reader` reads, the group may do `group`, nobody else anything.
inline std::string ListFor(uid_t reader, std::uint16_t group) {
  const std::uint32_t none = ACL_UNDEFINED_ID;
  const struct {
    posix_acl_xattr_header header;
    posix_acl_xattr_entry entries[5];
  } list = {{POSIX_ACL_XATTR_VERSION},
            {{ACL_USER_OBJ, ACL_READ | ACL_WRITE, none},
             {ACL_USER, ACL_READ, reader},
             {ACL_GROUP_OBJ, group, none},
             {ACL_MASK, ACL_READ, none},
             {ACL_OTHER, 0, none}}};
  return std::string(reinterpret_cast<const char*>(&list), sizeof list);
}

inline bool SetList(const std::string& path, const char* which, const std::string& list) {
  return setxattr(path.c_str(), which, list.data(), list.size(), 0) == 0;
}

// "" when there is none.
inline std::string ListOf(const std::string& path) {
  char list[1024];
  const ssize_t size = getxattr(path.c_str(), kAccessList, list, sizeof list);
  return std::string(list, size < 0 ? 0 : static_cast<std::size_t>(size));
}

// The first of TMPDIR and the build directory whose file system has access lists.
inline std::string PlaceWithAccessLists() {
  for (const std::string& place : {TemporariesPlace(), std::string(CONFIGFILE_BUILD_DIRECTORY)}) {
    const TemporaryDirectory probe(place);
    if (SetList(probe.path(), kDefaultList, ListFor(kStranger, 0))) return place;
  }
  throw std::runtime_error("neither TMPDIR nor the build directory has access lists");
}

}  // namespace ConfigFileTest

#endif  // TESTS_CONFIGFILE_ACCESS_LIST_H_
