# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What earlier versions wrote is read by this one, and this one writes what it says it does.

    golden_test.py PROGRAM QUORCTL [TEST...]
    golden_test.py --write DIRECTORY PROGRAM QUORCTL

golden/ holds a directory for each version whose files differ from those of the one before: a host
directory with the program's catalogue in both stores and as quorctl kept it from either, a catalogue
document, and the digests of the two. --write makes a new one; a committed one is never changed.
"""
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

PROGRAM = QUORCTL = ""
HERE = os.path.dirname(os.path.abspath(__file__))
GOLDEN = os.path.join(HERE, "golden")
EXAMPLE = os.path.join(HERE, "..", "..", "examples", "catalogue.json")
NEWEST = "1.1.0"  # the version that wrote what this one writes
# The numbers in each history of what the configuration store and what the file held.
HELD = {"1.0.0": ("1", "2"), "1.1.0": ("1", "3")}

FEATURES, CONFIG_STORE, CONFIG_FILE = "features", "config-store.cdb", "host-config.json"
DOCUMENT, DIGESTS, DOCUMENT_DIGESTS = "catalogue.json", "digests", "catalogue.digests"
HISTORY = "history"
SWITCH = 62  # of the configuration store


def call(host, *command):
    return subprocess.run(command, check=False, capture_output=True, text=True,
                          env={**os.environ, "QUOR_HOST_DIR": host, "LC_ALL": "C"})


def set_switch(host, on):
    with open(os.path.join(host, FEATURES), "r+b") as file:
        file.seek(SWITCH)
        file.write(bytes([on]))


def content(*path):
    with open(os.path.join(*path), "rb") as file:
        return file.read()


def make_host(directory, name="host"):
    host = os.path.join(directory, name)
    os.mkdir(host)
    os.chmod(host, 0o755)
    return host


def write_both_stores(host):
    """The catalogue in the configuration store and, while the switch is off, in the file."""
    call(host, PROGRAM, "write").check_returncode()
    set_switch(host, 0)
    call(host, PROGRAM, "write").check_returncode()
    set_switch(host, 1)


def replace_both_stores(host):
    """What the configuration store and the file held is kept, and what replaced it."""
    call(host, QUORCTL, "apply", "--yes", EXAMPLE).check_returncode()
    set_switch(host, 0)
    call(host, QUORCTL, "reset", "--yes").check_returncode()
    set_switch(host, 1)


def kept_names(*host):
    return sorted(name for name in os.listdir(os.path.join(*host, HISTORY)) if name[0] != ".")


class Golden(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-golden-")
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        self.versions = sorted(os.listdir(GOLDEN))
        self.assertIn(NEWEST, self.versions)

    def copy_of(self, version):
        """A host directory with the files that the version wrote."""
        host = make_host(self.directory, version)
        for name in (FEATURES, CONFIG_STORE, CONFIG_FILE):
            shutil.copyfile(os.path.join(GOLDEN, version, name), os.path.join(host, name))
        return host

    def assert_holds_the_catalogue(self, host, version):
        result = call(host, PROGRAM, "check")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""), version)
        self.assertEqual(call(host, PROGRAM, "digests").stdout.encode(),
                         content(GOLDEN, version, DIGESTS), version)

    def test_either_store_of_every_version_is_read(self):
        for version in self.versions:
            host = self.copy_of(version)
            for on in (1, 0):
                set_switch(host, on)
                self.assert_holds_the_catalogue(host, version)

    def test_either_store_of_every_version_is_read_without_the_other(self):
        for version in self.versions:
            host = self.copy_of(version)
            for on, other in ((1, CONFIG_FILE), (0, CONFIG_STORE)):
                set_switch(host, on)
                os.rename(os.path.join(host, other), os.path.join(host, "away"))
                self.assert_holds_the_catalogue(host, version)
                os.rename(os.path.join(host, "away"), os.path.join(host, other))

    def test_either_store_of_every_version_can_be_replaced(self):
        for version in self.versions:
            host = self.copy_of(version)
            for on in (1, 0):
                set_switch(host, on)
                call(host, PROGRAM, "write").check_returncode()
                self.assert_holds_the_catalogue(host, version)

    def test_a_document_of_every_version_is_applied(self):
        for version in self.versions:
            host = make_host(self.directory, version)
            call(host, QUORCTL, "apply", os.path.join(GOLDEN, version, DOCUMENT)).check_returncode()
            self.assertEqual(call(host, PROGRAM, "digests").stdout.encode(),
                             content(GOLDEN, version, DOCUMENT_DIGESTS), version)

    def test_the_history_of_every_version_is_listed_as_its_names_say(self):
        for version in self.versions:
            host = make_host(self.directory, version)
            shutil.copytree(os.path.join(GOLDEN, version, HISTORY), os.path.join(host, HISTORY))
            listed = call(host, QUORCTL, "history", "--sort", "number", "-o", "json")
            names = kept_names(host)
            self.assertGreaterEqual(len(names), 2)
            for name, entry in zip(names, json.loads(listed.stdout), strict=True):
                time = re.sub(r"[-:]", "", entry["time"])
                parts = [entry["number"], time, entry["reason"], entry["store"], entry["policies"],
                         entry["datastores"], entry["policyDigest"], entry["datastoreDigest"],
                         "json"]
                self.assertEqual(".".join("-" if part == "" else str(part) for part in parts), name)

    def test_the_history_of_every_version_is_restored(self):
        for version in self.versions:
            host = make_host(self.directory, version)
            shutil.copytree(os.path.join(GOLDEN, version, HISTORY), os.path.join(host, HISTORY))
            for number, on in zip(HELD[version], (1, 0)):
                call(host, QUORCTL, "restore", "--yes", number).check_returncode()
                set_switch(host, on)
                self.assert_holds_the_catalogue(host, version)

    def test_this_version_keeps_the_newest_history(self):
        host = make_host(self.directory)
        write_both_stores(host)
        replace_both_stores(host)
        names = kept_names(host)
        self.assertEqual(list(map(without_time, names)),
                         list(map(without_time, kept_names(GOLDEN, NEWEST))))
        for made, committed in zip(names, kept_names(GOLDEN, NEWEST)):
            self.assertEqual(content(host, HISTORY, made),
                             content(GOLDEN, NEWEST, HISTORY, committed))

    def test_this_version_writes_the_newest_bytes(self):
        host = make_host(self.directory)
        write_both_stores(host)
        for name in (FEATURES, CONFIG_FILE):
            self.assertEqual(content(host, name), content(GOLDEN, NEWEST, name), name)
        self.assertEqual(parts_of(content(host, CONFIG_STORE)),
                         parts_of(content(GOLDEN, NEWEST, CONFIG_STORE)))

    def test_another_catalogue_is_told_from_this_one(self):
        host = make_host(self.directory)
        result = call(host, PROGRAM, "check")
        self.assertEqual((result.returncode, result.stdout), (1, "policies: 0 and not 4\n"))


def parts_of(snapshot):
    """What does not depend on the key of a snapshot: its records without their checksums, and all
    behind its pages but that key and the checksum, which covers it."""
    records_end, = struct.unpack_from("<Q", snapshot, len(snapshot) - 80)
    kinds, = struct.unpack_from("<Q", snapshot, len(snapshot) - 24)
    records, at = [], 0
    while at < records_end:
        key_size, data_size = struct.unpack_from("<II", snapshot, at)
        end = at + 8 + key_size + data_size
        records.append(snapshot[at:end - 8])
        at = end
    return (records, snapshot[kinds:-32], snapshot[-24:-8])


def without_time(name):
    return re.sub(r"\.\d{8}T\d{6}Z\.", ".TIME.", name, count=1)


def write_golden(directory):
    os.makedirs(directory)
    with tempfile.TemporaryDirectory(prefix="quor-golden-") as temporary:
        host = make_host(temporary)
        write_both_stores(host)
        for name in (FEATURES, CONFIG_STORE, CONFIG_FILE):
            shutil.copyfile(os.path.join(host, name), os.path.join(directory, name))
        digests = {DIGESTS: call(host, PROGRAM, "digests").stdout}
        replace_both_stores(host)  # the configuration store holds the document then
        digests[DOCUMENT_DIGESTS] = call(host, PROGRAM, "digests").stdout
        shutil.copyfile(EXAMPLE, os.path.join(directory, DOCUMENT))
        shutil.copytree(os.path.join(host, HISTORY), os.path.join(directory, HISTORY),
                        ignore=shutil.ignore_patterns(".*"))
    for name, text in digests.items():
        with open(os.path.join(directory, name), "w", encoding="utf-8") as file:
            file.write(text)


if __name__ == "__main__":
    if sys.argv[1] == "--write":
        PROGRAM, QUORCTL = sys.argv[3:5]
        write_golden(sys.argv[2])
    else:
        PROGRAM, QUORCTL = sys.argv[1:3]
        del sys.argv[1:3]
        unittest.main(verbosity=2)
