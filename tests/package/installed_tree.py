# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The built tree, installed for a test.

    BUILD    build directory of the project
    CMAKE    the cmake program
"""
import os
import shutil
import subprocess
import tempfile


class Failed(Exception):
    """A command that failed, with what it printed."""


def run(*command, **options):
    """Runs a command; returns what it printed to standard output."""
    environment = {**os.environ, "LC_ALL": "C", **options.pop("environment", {})}
    result = subprocess.run([str(part) for part in command], check=False, text=True,
                            timeout=options.pop("timeout", 600), stdin=subprocess.DEVNULL,
                            capture_output=True, env=environment, **options)
    if result.returncode != 0:
        raise Failed(f"{' '.join(map(str, command))}\nexit status {result.returncode}\n"
                     f"{result.stdout}{result.stderr}")
    return result.stdout


def temporary_directory(test_class, prefix="quor-package-"):
    """A directory that is removed after the last test of the class."""
    path = os.path.realpath(tempfile.mkdtemp(prefix=prefix))
    test_class.addClassCleanup(shutil.rmtree, path)
    return path


def install(cmake, build, prefix, component=None):
    component = ["--component", component] if component else []
    run(cmake, "--install", build, "--prefix", prefix, *component)


def install_and_move(cmake, build, directory):
    """Installs everything, then moves the prefix as a user may; returns where it is."""
    before, after = os.path.join(directory, "before"), os.path.join(directory, "after")
    install(cmake, build, before)
    os.rename(before, after)
    return after


def library_directory(prefix):
    """Where the libraries are below the prefix: lib, or one with the machine's name in it."""
    for directory, _, names in os.walk(prefix):
        if "libquor.so.1" in names:
            return directory
    raise Failed(f"no libquor.so.1 below {prefix}")
