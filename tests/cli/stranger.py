# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Another user's view: a user who owns nothing in the test's directory."""
import os
import re
import shutil
import subprocess

from quorctl_case import QUORCTL, STRANGER


def need_root(case):
    """Leaves the test out where it cannot act as another user; scripts/test counts these lines."""
    if os.geteuid() != 0:
        print(f"\nleft out: {case.id()}: needs root", flush=True)  # not behind the dots of unittest
        case.skipTest("needs root")


def become_stranger(case):
    """From here on the case runs quorctl as the stranger; only root can do that. The program is
    copied, for the build directory may be closed to others."""
    need_root(case)
    os.chmod(case.directory, 0o755)
    folder = os.path.join(case.directory, "program")
    os.mkdir(folder, 0o755)
    loaded = subprocess.run(["ldd", QUORCTL], stdout=subprocess.PIPE, check=True).stdout
    for path in [QUORCTL, *re.findall(r"=> (/\S*libquor\S*)", loaded.decode())]:
        shutil.copy(path, folder)
    case.program = os.path.join(folder, os.path.basename(QUORCTL))
    case.search_path = {"LD_LIBRARY_PATH": folder}
    case.process_options = {"user": STRANGER, "group": STRANGER, "extra_groups": [], "cwd": "/"}
