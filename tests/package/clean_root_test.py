# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""How a clean root is made where debootstrap does not work, with stand-ins for apt and debootstrap.

    clean_root_test.py
"""
import os
import tempfile
import unittest
from unittest import mock

import clean_root
import debootstrapped_root
from commands import Failed

STAND_INS = {
    "apt-get": 'echo "other|main|http://mirror.invalid/other/"\n'
               'echo "$SUITE|contrib|http://mirror.invalid/debian/"\n'
               'echo "$SUITE|main|http://mirror.invalid/debian/"\n',
    "apt-config": '[[ -z ${OWN-} ]] || echo "own=\'$OWN\'"\n'
                  '[[ -z ${COMMON-} ]] || echo "common=\'$COMMON\'"\n',
    "unshare": 'while [[ $1 == --* ]]; do shift; done; exec "$@"\n',
    "debootstrap": 'echo "$* ${http_proxy-}" >"$CALL"; echo "E: $REASON"; [[ -z $REASON ]]\n',
}


class CleanRoot(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="quor-clean-root-")
        self.addCleanup(directory.cleanup)
        self.bin = os.path.join(directory.name, "bin")
        self.path = os.path.join(directory.name, "root")
        self.call = os.path.join(directory.name, "call")
        os.mkdir(self.bin)
        os.mkdir(self.path)
        for name, text in STAND_INS.items():
            with open(os.path.join(self.bin, name), "w", encoding="utf-8") as file:
                file.write("#!/bin/bash\n" + text)
            os.chmod(os.path.join(self.bin, name), 0o755)
        self.environment(PATH=self.bin + ":" + os.environ["PATH"], CALL=self.call, REASON="",
                         SUITE=debootstrapped_root.release())
        # Stands in for the copying, which takes long and needs root.
        self.unpacked = mock.patch.object(clean_root, "UnpackedPackages").start()
        self.unpacked.return_value.chosen = ["dpkg", "libc6"]
        self.addCleanup(mock.patch.stopall)

    def environment(self, **values):
        mock.patch.dict(os.environ, values).start()

    def make(self, way=None):
        return clean_root.CleanRoot(self.path, [["libc6"], ["libmd0", "libmd1"]], way)

    def test_is_made_by_debootstrap_from_the_repository_that_apt_uses(self):
        self.assertRegex(self.make().how, r"^debootstrap of \w+, from this machine's apt")
        with open(self.call, encoding="utf-8") as file:
            self.assertEqual(file.read().split(), [
                "--variant=minbase", "--include=libc6,libmd0", os.environ["SUITE"], self.path,
                "http://mirror.invalid/debian/"])
        self.unpacked.assert_not_called()

    def test_apts_proxy_is_handed_on(self):
        for own, common, expected in (("", "http://a.invalid:1/", {"http_proxy": "http://a.invalid:1/"}),
                                      ("http://b.invalid/", "http://a.invalid/",
                                       {"http_proxy": "http://b.invalid/"}),
                                      ("DIRECT", "http://a.invalid/", {"no_proxy": "m.invalid"}),
                                      ("", "", {})):
            self.environment(OWN=own, COMMON=common)
            self.assertEqual(debootstrapped_root.proxy_environment("http://m.invalid/debian/"),
                             expected)

    def test_failure_of_debootstrap_is_told_and_unpacked_packages_take_its_place(self):
        self.environment(REASON="no network")
        with open(os.path.join(self.path, "half-done"), "w", encoding="utf-8"):
            pass
        self.assertEqual(self.make().how,
                         "2 plain unpacked packages of this machine, not debootstrap: "
                         "debootstrap: exit status 1: E: no network")
        self.assertEqual(os.listdir(self.path), [])

    def test_time_is_bounded(self):
        with open(os.path.join(self.bin, "debootstrap"), "a", encoding="utf-8") as file:
            file.write("sleep 600\n")
        with mock.patch.object(debootstrapped_root, "TIMEOUT", 0.2):
            self.assertIn("not debootstrap: debootstrap was not done after 0.2 s", self.make().how)

    def test_release_that_apt_does_not_know_is_told(self):
        self.environment(SUITE="another")
        self.assertRegex(self.make().how, r"not debootstrap: apt has no repository of \w+$")

    def test_machine_without_debootstrap_is_told(self):
        with mock.patch.object(debootstrapped_root.shutil, "which", return_value=None):
            self.assertIn("not debootstrap: there is no program debootstrap", self.make().how)

    def test_way_that_is_asked_for_is_the_only_one(self):
        self.environment(REASON="no network")
        with self.assertRaisesRegex(Failed, "no network"):
            self.make("debootstrap")
        self.unpacked.assert_not_called()
        os.remove(self.call)
        self.assertIn("as was asked for", self.make("unpacked").how)
        self.assertFalse(os.path.exists(self.call))
        with self.assertRaises(ValueError):
            self.make("by hand")


if __name__ == "__main__":
    unittest.main(verbosity=2)
