# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# shellcheck shell=bash
# The build directory that quickstart and the tests share. To be sourced by bash.

build=build/release

# One compiler for each processor, as far as there is 1 GiB of memory for each.
build_jobs() {
  local processors gibibytes
  processors=$(nproc)
  gibibytes=$(awk '/^MemTotal:/ {print int($2 / 1048576)}' /proc/meminfo)
  echo $((gibibytes < 1 ? 1 : gibibytes < processors ? gibibytes : processors))
}

# Tests at a time: many of them wait, for a tick of a file system's clock or for another process.
test_jobs() { echo $(($(build_jobs) + 2)); }

# build_targets TARGET... [-- CMAKE ARGUMENT...]
#
# Configures the preset `release` and builds these targets. A terminal shows on one line how many
# steps are done; elsewhere the messages go to a file, which is shown when the build fails.
build_targets() {
  local targets=() log=$build/build.log
  while [[ $# -gt 0 && $1 != -- ]]; do targets+=("$1"); shift; done
  mkdir -p "$build"
  echo "Building in $build; some minutes the first time, messages in $log ..."
  local command=(cmake --build "$build" -j "$(build_jobs)" --target "${targets[@]}")
  if cmake --preset release "${@:2}" >"$log" 2>&1; then
    if [[ -t 1 ]]; then
      "${command[@]}" && return
      echo "The build failed; its messages are above." >&2
      return 1
    fi
    "${command[@]}" >>"$log" 2>&1 && return
  fi
  cat "$log" >&2
  echo "The build failed; its messages are above and in $log." >&2
  return 1
}
