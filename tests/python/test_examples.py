# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The examples do what they say."""
import os
import subprocess
import sys


def start(name, *arguments):
    path = os.path.join(os.environ["QUOR_EXAMPLES"], name + ".py")
    return subprocess.Popen([sys.executable, path, *arguments], stdout=subprocess.PIPE)


def outcome(name, *arguments):
    with start(name, *arguments) as process:
        output = process.communicate(timeout=60)[0]
    return process.returncode, output


def test_they_push_look_up_and_watch(catalogue):
    with start("watch_catalogue", "1") as watching:
        assert watching.stdout.readline() == b"watching\n"
        assert outcome("push_catalogue") == (0, b"pushed 2 policies and 2 datastores\n")
        assert watching.communicate(timeout=60)[0] == b"policies changed\n"
    assert outcome("look_up_blob", "ds:///shares/mail/") == (0, b'<rules copies="3"/>')
    assert outcome("look_up_blob", "ds:///shares/mail/", "silver-01") == (0, b'<rules copies="2"/>')
    assert outcome("look_up_blob", "ds:///none/") == (1, b"")
