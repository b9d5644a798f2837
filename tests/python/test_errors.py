# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Failures are exceptions of their kind, and name the file."""
import os
import subprocess
import sys

import pytest

import quor

HOLD = """
import fcntl, struct, sys
file = open(sys.argv[1], "r+b")
fcntl.fcntl(file, 37, struct.pack("hhqqi4x", fcntl.F_WRLCK, 0, 0, 0, 0))  # F_OFD_SETLK
print("held", flush=True)
sys.stdin.read()
"""
REPLACE = """
import quor, sys
try:
    quor.Catalogue().replace_policies([])
except quor.Error as error:
    print(type(error).__name__, error.file, error, sep="\\n")
"""


def put(catalogue):
    catalogue.replace_policies([quor.Policy("gold-01", "Gold", blobs=(quor.Blob("RILK", b"x"),))])


def test_a_lock_that_is_held_is_busy(catalogue, lock_file):
    put(catalogue)
    with subprocess.Popen([sys.executable, "-c", HOLD, lock_file], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE) as holder:
        assert holder.stdout.readline() == b"held\n"
        done = subprocess.run([sys.executable, "-c", REPLACE], check=True, capture_output=True,
                              text=True, env={**os.environ, "QUOR_LOCK_TIMEOUT_MS": "20"})
        holder.stdin.close()
    kind, file, message = done.stdout.splitlines()
    assert (kind, file) == ("Busy", lock_file)
    assert "still locked after 20 ms" in message


def test_damage_is_corrupt_and_names_the_file(catalogue, stored_file):
    put(catalogue)
    with open(stored_file, "rb") as file:
        whole = file.read()
    try:
        with open(stored_file, "wb") as file:
            file.write(whole[:len(whole) // 2])
        with pytest.raises(quor.Corrupt) as caught:
            catalogue.rilk_blob(name="Gold")
        assert caught.value.file == stored_file
        assert stored_file in str(caught.value)
    finally:
        with open(stored_file + ".new", "wb") as file:
            file.write(whole)
        os.rename(stored_file + ".new", stored_file)


@pytest.mark.skipif(os.geteuid() != 0, reason="acts as another user")
def test_a_stranger_is_refused(catalogue, host):
    put(catalogue)
    os.chmod(host, 0o700)
    child = os.fork()
    if child == 0:
        os.setuid(54321)
        try:
            catalogue.policies
        except quor.PermissionDenied:
            os._exit(0)
        os._exit(1)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0


def test_the_classes_have_one_base():
    for kind in (quor.StoreError, quor.FileError, quor.Busy, quor.PermissionDenied, quor.Corrupt,
                 quor.NoSpace):
        assert issubclass(kind, quor.Error) and kind.__doc__
