# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# shellcheck shell=bash
# The Debian packages that the scripts need, and their installation. To be sourced by bash.
#
#   ensure_packages GROUP...     groups: build tests fleet compilers cross reference packages lint fuzz bench wheel long
#
# Nothing is run but a look into dpkg's database when all packages are there.

# One line a package: its group, its name, what it is for.
package_list() {
  cat <<'END'
build g++             compiler
build cmake           build configuration, 3.25 or newer
build ninja-build     runs the build
build libxxhash-dev   checksums of stored records
build libmd-dev       MD5 of the catalogue digests
build libcli11-dev    command line of quorctl
build nlohmann-json3-dev catalogue documents of quorctl
build libyaml-cpp-dev catalogue documents in YAML
tests libgtest-dev    test framework
tests python3         tests of the source tree, the headers and the built files
tests binutils        reads the exported symbols of the built libraries
tests clang           second compiler for the public headers
tests libc++-dev      C++ library that the public header refuses
tests libjemalloc2    allocator of programs that fork beside calls
tests libtcmalloc-minimal4 allocator of programs that fork beside calls
tests libsqlite3-dev  oracle in differential tests
tests libcdb-dev      second reader of the configuration store's snapshots
tests abigail-tools   compares the libraries' binary interfaces with the committed ones
tests doxygen         finds public members without documentation
tests pkg-config      builds programs against the installed library
tests groff-base      checks the manual pages
tests uidmap          users for the tests that an ordinary user runs
tests zsh             checks the completion of quorctl in zsh
tests libsystemd-dev event loop of an example
tests libfuse3-dev  file system whose reads fail, for tests
tests libpython3-dev headers of the Python package's module
tests python3-cffi  makes the Python package's module
tests python3-pytest tests of the Python package
tests python3-hypothesis tests of the Python package with made-up records
tests python3-yaml     second reader of documents in YAML
tests python3-prometheus-client reads the metrics of quorctl
tests libpq-dev       client of the centre of many hosts
tests libssl-dev      hashes and signatures of releases
tests zlib1g-dev      compression of releases
tests postgresql      centre of many hosts
tests openssl         keys and certificates of the centre's tests
tests iproute2        networks of the centre's tests
fleet libpq-dev       client of the centre of many hosts
fleet libssl-dev      hashes and signatures of releases
fleet zlib1g-dev      compression of releases
fleet postgresql      centre of many hosts
fleet python3         reads what quor-publish answers
long  chromium        looks at the page of quor-publish status
long  pgbouncer       pooler between many agents and the centre
tests reuse           finds files without copyright and licence
reference doxygen     makes the reference of the headers
packages build-essential what every build of a Debian package takes for granted
packages dpkg-dev     builds the Debian packages
packages debhelper    rules of the Debian packages
packages dh-python    rules of the Debian package for Python
packages libpq-dev    client of the centre of many hosts
packages libssl-dev   hashes and signatures of releases
packages zlib1g-dev   compression of releases
packages libpython3-dev headers of the Python package's module
packages python3-cffi makes the Python package's module
packages lintian      finds mistakes in the Debian packages
packages debootstrap  makes the root where the packages are tried
packages systemd      does in the root where the packages are tried what a start does
packages rpm          reads the description of the RPM packages
packages rpmlint      finds mistakes in the description of the RPM packages
lint  clang           parses for clang-tidy
lint  clang-format    layout of the sources
lint  clang-tidy      static checks of the sources
long  prometheus    its promtool reads the metrics of quorctl, in the older format
lint  mypy          checks the types of the Python package
wheel python3-setuptools builds the Python package as a wheel
wheel python3-wheel builds the Python package as a wheel
lint  shellcheck      static checks of the scripts
fuzz  clang-14         compiler of the fuzz targets
fuzz  libclang-rt-14-dev libFuzzer and the sanitizers of clang
fuzz  libsimdjson-dev  oracle for the parser of the configuration file
compilers g++-11 other compiler of the libraries and the tool
compilers g++-12 other compiler of the libraries and the tool
compilers clang-14 other compiler of the libraries and the tool
compilers clang-15 other compiler of the libraries and the tool
compilers clang-16 other compiler of the libraries and the tool
cross python3         runs the tests of files and digests
cross qemu-user       runs programs of other architectures
cross-arm64 g++-aarch64-linux-gnu compiler
cross-armhf g++-arm-linux-gnueabihf compiler
cross-i386 g++-i686-linux-gnu compiler
cross-ppc64el g++-powerpc64le-linux-gnu compiler
cross-riscv64 g++-riscv64-linux-gnu compiler
cross-s390x g++-s390x-linux-gnu compiler
bench python3         prints and draws the results
bench valgrind        counts instructions
bench util-linux      tells the file system of the measured directory
bench libbenchmark-dev benchmark framework
bench libsqlite3-dev  peer in the benchmarks
bench liblmdb-dev     peer in the benchmarks
bench libsimdjson-dev peer in the benchmarks
bench nlohmann-json3-dev peer in the benchmarks, and writes their results
END
}

# Prints "NAME  REASON" for every package of the groups that is not installed.
missing_packages() {
  local group name reason
  while read -r group name reason; do
    [[ " $* " == *" $group "* ]] || continue
    dpkg-query -W -f='${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed ||
      printf '%-20s %s\n' "$name" "$reason"
  done < <(package_list) | sort -u -k1,1
}

# sudo asks for a password on the terminal, wherever the standard streams go.
has_terminal() { { : </dev/tty; } 2>/dev/null; }

# Runs a command as root, by sudo where this is not root already. Fails when neither is to be had.
as_root() {
  if [[ $(id -u) == 0 ]]; then
    "$@"
  elif ! command -v sudo >/dev/null; then
    return 1
  elif sudo -n true 2>/dev/null; then
    sudo -n "$@"
  elif has_terminal; then
    sudo "$@"
  else
    return 1
  fi
}

# Says why as_root cannot install, and how to go on. The arguments are the command that installs.
tell_what_root_must_run() {
  if ! command -v sudo >/dev/null; then
    echo "They can't be installed from here: this is not root, and there is no sudo." >&2
  elif has_terminal; then
    echo "They can't be installed from here: this is not root, and sudo does not allow it." >&2
  else
    echo "They can't be installed from here: sudo asks for a password, and there is no terminal." >&2
    echo "Run this first:  sudo apt-get update && sudo $*" >&2
    return
  fi
  echo "As root, run:  apt-get update && $*" >&2
}

# Copies apt-get's messages without its progress reports, which become one line on a terminal.
show_progress() {
  local line percent text
  while IFS= read -r line; do
    case $line in
      dlstatus:* | pmstatus:*)
        [[ -t 2 ]] || continue
        IFS=: read -r _ _ percent text <<<"$line"
        printf '\r\e[K%3d %%  %.70s' "${percent%.*}" "$text" >&2
        ;;
      *) printf '%s\n' "$line" ;;
    esac
  done
  [[ ! -t 2 ]] || printf '\r\e[K' >&2
}

# Debian's PostgreSQL makes a server for everybody and starts it, unless its first package says
# otherwise before the others come: the tests have servers of their own. Uses names of ensure_packages.
start_no_server() {
  local settings=${POSTGRESQL_SETTINGS:-/etc/postgresql-common}/createcluster.conf
  [[ " ${names[*]} " == *" postgresql "* ]] || return 0
  [[ ! -e $settings ]] || return 0
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends postgresql-common &&
    as_root sed -i 's/^#\? *create_main_cluster *=.*/create_main_cluster = false/' "$settings"
}

ensure_packages() {
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "note: this is no Debian system, so nothing is installed here. Needed are the equivalents of:" >&2
    package_list | while read -r group name reason; do
      [[ " $* " != *" $group "* ]] || printf '  %-20s %s\n' "$name" "$reason" >&2
    done
    return 0
  fi

  local missing names
  missing=$(missing_packages "$@")
  [[ -n $missing ]] || return 0
  echo "Missing Debian packages:" >&2
  while read -r line; do echo "  $line"; done <<<"$missing" >&2
  mapfile -t names < <(awk '{print $1}' <<<"$missing")

  local install=(apt-get install -y --no-install-recommends "${names[@]}")
  if ! as_root true; then
    tell_what_root_must_run "${install[@]}"
    return 1
  fi
  echo "Installing them ..." >&2
  local log
  log=$(mktemp)
  if as_root apt-get -q update >"$log" 2>&1 && start_no_server >>"$log" 2>&1 &&
    as_root env DEBIAN_FRONTEND=noninteractive "${install[@]}" -o APT::Status-Fd=1 2>&1 |
    show_progress >>"$log"; then
    rm -f "$log"
    return 0
  fi
  cat "$log" >&2
  rm -f "$log"
  echo "The installation failed; the messages above are apt-get's." >&2
  echo "As root, run:  apt-get update && ${install[*]}" >&2
  return 1
}
