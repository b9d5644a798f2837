# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Commands with mounts of their own, which nobody else sees."""
import os
import subprocess

# In a chroot the root directory is often no mount point, so that what is made private is the mount
# that holds the directory.
_PRIVATE = ('p=$1; shift; until mountpoint -q "$p" || [ "$p" = / ]; do p=${p%/*}; p=${p:-/}; done; '
            'mount --make-rprivate "$p" && exec "$@"')


def with_private_mounts(directory, *command):
    """The words that run the command, which may mount on directories below `directory`."""
    user = ["--map-root-user"] if os.geteuid() != 0 else []
    return ["unshare", "--mount", "--propagation", "unchanged", *user, "sh", "-c", _PRIVATE, "sh", directory,
            *command]


def within_mounts_of(process, *command):
    """The words that run the command where the process sees its mounts."""
    user = ["--user", "--preserve-credentials"] if os.geteuid() != 0 else []
    return ["nsenter", "--target", str(process.pid), *user, "--mount", "--root", *command]


def need_private_mounts(case, directory):
    """Leaves the test out where it cannot mount; scripts/test counts these lines."""
    command = with_private_mounts(directory, "mount", "-t", "tmpfs", "none", directory)
    if subprocess.run(command, check=False, stderr=subprocess.DEVNULL).returncode != 0:
        print(f"\nleft out: {case.id()}: needs mounts of its own", flush=True)
        case.skipTest("needs mounts of its own")
