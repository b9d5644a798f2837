# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Runs a program on a host where nothing was ever written.

    in_empty_host.py PROGRAM [ARGUMENT...]

Fails when the program fails, prints anything, or leaves a file in the host directory: to ask a
question writes nothing.
"""
import os
import subprocess
import sys
import tempfile


def main():
    with tempfile.TemporaryDirectory(prefix="quor-empty-host-") as directory:
        result = subprocess.run(sys.argv[1:], check=False, capture_output=True, text=True,
                                env={**os.environ, "QUOR_HOST_DIR": directory})
        left = os.listdir(directory)
    if result.returncode == 0 and not result.stdout and not result.stderr and not left:
        return 0
    print(f"exit status {result.returncode}, left in the host directory: {left}")
    print(result.stdout + result.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
