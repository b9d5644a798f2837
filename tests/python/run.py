# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Runs the tests of this directory in a host directory of their own.

    run.py store|file [PYTEST ARGUMENT...]
"""
import os
import subprocess
import sys
import tempfile


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    with tempfile.TemporaryDirectory(prefix="quor-python-") as directory:
        host = os.path.join(directory, "host")
        os.mkdir(host)
        os.chmod(directory, 0o755)
        os.chmod(host, 0o755)
        return subprocess.run(
            [sys.executable, "-B", "-m", "pytest", "-q", "-p", "no:cacheprovider", "--rootdir", here,
             here, *sys.argv[2:]], check=False, cwd=directory,
            env={**os.environ, "QUOR_HOST_DIR": host, "QUOR_TEST_STORE": sys.argv[1],
                 "PYTEST_DEBUG_TEMPROOT": directory, "HYPOTHESIS_STORAGE_DIRECTORY": directory}).returncode


if __name__ == "__main__":
    sys.exit(main())
