# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Checks, by their #include lines, that the sources include downward only.

    check_layers.py ROOT

Prints every include that leaves its layer and exits with 1 when there is one.
"""
import os
import re
import sys

import source_tree

CXX11_HEADERS = set("""
    algorithm array atomic bitset cassert ccomplex cctype cerrno cfenv cfloat chrono cinttypes
    ciso646 climits clocale cmath codecvt complex condition_variable csetjmp csignal cstdalign
    cstdarg cstdbool cstddef cstdint cstdio cstdlib cstring ctgmath ctime cuchar cwchar cwctype
    deque exception forward_list fstream functional future initializer_list iomanip ios iosfwd
    iostream istream iterator limits list locale map memory mutex new numeric ostream queue random
    ratio regex scoped_allocator set sstream stack stdexcept streambuf string strstream
    system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility
    valarray vector""".split())
C_HEADERS = set("""
    assert.h complex.h ctype.h errno.h fenv.h float.h inttypes.h iso646.h limits.h locale.h math.h
    setjmp.h signal.h stdalign.h stdarg.h stdatomic.h stdbool.h stddef.h stdint.h stdio.h stdlib.h
    stdnoreturn.h string.h tgmath.h threads.h time.h uchar.h wchar.h wctype.h""".split())
STANDARD_HEADERS = CXX11_HEADERS | C_HEADERS | set("""
    any barrier bit charconv compare concepts coroutine execution filesystem format latch
    memory_resource numbers optional ranges semaphore shared_mutex source_location span stop_token
    string_view syncstream variant version""".split())

# What the library for C asks of the system, most of it for the descriptor of changes.
SYSTEM_HEADERS = {"dirent.h", "fcntl.h", "pthread.h", "sys/epoll.h", "sys/inotify.h", "sys/stat.h", "sys/timerfd.h",
                  "sys/vfs.h", "unistd.h"}

PLATFORM_HEADERS = "platform/include"
STORE_CLIENTS = ["platform/include/tavconfigstore", "platform/include/zynctl"]
ADMINISTRATION = ["platform/include/platform/admin.h"]


class Layer:
    """What the files of one folder may include.

    own: folders and files of this project, minus `never`; external: header names in angle brackets,
    or None for any.
    """

    def __init__(self, own, never=(), external=None):
        self.own = own
        self.never = never
        self.external = external

    def allows(self, path):
        return _is_below(path, self.own) and not _is_below(path, self.never)


BACKENDS_MAY_USE = ["include/quor", "src/api/backend.h", "src/api/identifier.h",
                    "src/digest",
                    PLATFORM_HEADERS]

# Errors at the bottom, then the system's files, then services; the two stores do not know each other.
ERRORS = [PLATFORM_HEADERS, "platform/src/errors"]
OS = [*ERRORS, "platform/src/os"]
SERVICES = [*OS, "platform/src/services"]

LAYERS = {
    "include/quor/quor.h": Layer([], external={"stddef.h", "stdint.h"}),
    "include/quor": Layer([], external=CXX11_HEADERS),
    "src/api": Layer(
        ["include/quor", "src/api", "src/configstore/backend.h", "src/configfile/backend.h",
         PLATFORM_HEADERS],
        never=ADMINISTRATION, external=STANDARD_HEADERS),
    "src/configstore": Layer(
        BACKENDS_MAY_USE + ["src/configstore"],
        never=ADMINISTRATION, external=STANDARD_HEADERS),
    "src/configfile": Layer(
        BACKENDS_MAY_USE + ["src/configfile"],
        never=ADMINISTRATION, external=STANDARD_HEADERS),
    "src/digest": Layer(
        ["include/quor", "src/digest", PLATFORM_HEADERS],
        never=ADMINISTRATION + STORE_CLIENTS, external=STANDARD_HEADERS),
    "c": Layer(["include/quor", "c/src"], external=STANDARD_HEADERS | SYSTEM_HEADERS),
    "platform/include": Layer([PLATFORM_HEADERS], external=STANDARD_HEADERS),
    "platform/src/errors": Layer(ERRORS),
    "platform/src/os": Layer(OS),
    "platform/src/services": Layer(SERVICES),
    "platform/src/store": Layer([*SERVICES, "platform/src/store"]),
    "platform/src/tree": Layer([*SERVICES, "platform/src/tree"]),
    "platform/src": Layer([PLATFORM_HEADERS, "platform/src"]),
    "tools/catalogue": Layer(
        ["include/quor", "tools/catalogue", "src/digest/catalogue_digest.h",
         "platform/include/platform/base64.h"],
        external=STANDARD_HEADERS | {"nlohmann/json.hpp"}),
    "tools/fleet": Layer(
        ["include/quor", "tools/catalogue", "tools/fleet"],
        external=STANDARD_HEADERS | {"libpq-fe.h", "openssl/bio.h", "openssl/err.h", "openssl/evp.h",
                                     "openssl/pem.h", "poll.h", "zlib.h"}),
    "tools/quor-publish": Layer(
        ["include/quor", "tools/catalogue", "tools/fleet", "tools/quorctl", "tools/quor-publish"]),
    "tools/quor-agent": Layer(
        ["include/quor", "tools/catalogue", "tools/fleet", "tools/quor-agent"]),
    "tools": Layer(["include/quor", PLATFORM_HEADERS, "tools"]),
}
FOLDERS = ["include", "src", "c", "platform", "tools"]

# Where a header is looked for. The folders of the file's own target come first, as they do for the
# compiler; the others only serve to name what an include that must not be there reaches.
_ALL_ROOTS = ["include", "src", "c/src", "platform/include", "platform/src", "tools", "tools/quorctl"]
_OWN_ROOTS = {
    "include": ["include"],
    "src": ["include", "src", "platform/include"],
    "c": ["include", "c/src"],
    "platform": ["platform/include", "platform/src"],
    "tools": ["include", "src", "platform/include", "tools", "tools/quorctl"],
}

_INCLUDE = re.compile(r"^\s*#\s*include\b\s*(.*)")
_HEADER_NAME = re.compile(r'(["<])([^">]+)[">]')


def violations(root):
    """One line of text for every include that must not be there."""
    found = []
    sources = [p for p in source_tree.files(root, *FOLDERS) if p.endswith((".h", ".cpp"))]
    if not sources:
        return [f"no sources below {root}"]
    for path in sources:
        layer = _layer_of(path)
        if layer is None:
            found.append(f"{path}: no layer is known for this folder; add it to LAYERS")
            continue
        with open(os.path.join(root, path), encoding="utf-8") as source:
            for number, line in enumerate(source, start=1):
                include = _INCLUDE.match(line)
                reason = include and _refusal(root, path, layer, include.group(1))
                if reason:
                    found.append(f"{path}:{number}: {reason}")
    return found


def _refusal(root, path, layer, operand):
    """Why the include is refused; None when it is fine."""
    name = _HEADER_NAME.match(operand)
    if not name:
        return f"cannot tell what is included by {operand.strip()}"
    quoted, header = name.group(1) == '"', name.group(2)
    target = _resolve(root, path, header, quoted)
    if target is not None:
        return None if layer.allows(target) else f"must not include {target}"
    if quoted:
        return f"no such file: {header}"
    if layer.external is not None and header not in layer.external:
        return f"must not include <{header}>, which is no standard header here"
    return None


def _resolve(root, path, header, quoted):
    """The project's file that is meant, relative to the root; None when it is none of ours."""
    own = _OWN_ROOTS[path.split(os.sep)[0]]
    folders = own + [folder for folder in _ALL_ROOTS if folder not in own]
    if quoted:
        folders.insert(0, os.path.dirname(path))
    for folder in folders:
        candidate = os.path.normpath(os.path.join(folder, header))
        if os.path.isfile(os.path.join(root, candidate)):
            return candidate
    return None


def _layer_of(path):
    for folder, layer in LAYERS.items():
        if _is_below(path, [folder]):
            return layer
    return None


def _is_below(path, places):
    return any(path == place or path.startswith(place + "/") for place in places)


def main():
    found = violations(sys.argv[1])
    print("\n".join(found) if found else "all includes run downward")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
