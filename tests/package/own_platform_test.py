# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The example of a host's own platform, built against an installed tree and run in its place.

    own_platform_test.py BUILD CMAKE ROOT [TEST...]
"""
import ctypes
import os
import shutil
import subprocess
import sys
import unittest

import installed_tree
from installed_tree import run

BUILD = CMAKE = ROOT = ""

SWITCH = 62  # of the configuration store


def switch_of(library):
    """The switch's byte in a platform."""
    switches = (ctypes.POINTER(ctypes.c_ubyte) * 256).in_dll(ctypes.CDLL(library), "FeatureList")
    return switches[SWITCH][0]


class OwnPlatform(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = installed_tree.temporary_directory(cls)
        cls.prefix = installed_tree.install_and_move(CMAKE, BUILD, cls.directory)
        cls.build = os.path.join(cls.directory, "platform")
        run(CMAKE, "-S", os.path.join(ROOT, "examples", "platform"), "-B", cls.build, "-G", "Ninja",
            f"-DCMAKE_PREFIX_PATH={cls.prefix}",
            "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror")
        run(CMAKE, "--build", cls.build, "-j", "2")

    def run_demo(self, libraries):
        """The demo's answers, and what it left in the host directory."""
        host = os.path.join(self.directory, "host")
        shutil.rmtree(host, ignore_errors=True)
        os.mkdir(host, 0o755)
        printed = run(os.path.join(self.build, "demo"),
                      environment={"LD_LIBRARY_PATH": libraries, "QUOR_HOST_DIR": host})
        return printed, os.listdir(host)

    def test_libquor_answers_from_either_of_its_stores_alike_and_writes_no_file(self):
        installed, installed_files = self.run_demo(installed_tree.library_directory(self.prefix))
        self.assertIn("config-store.cdb", installed_files)
        self.assertIn("by datastore: three copies\nbytes: as they were\n", installed)
        for kind, switch in (("store", 1), ("file", 0)):
            folder = os.path.join(self.build, kind)
            self.assertEqual(switch_of(os.path.join(folder, "libquor-platform.so.1")), switch)
            self.assertEqual(self.run_demo(folder), (installed, []), kind)

    def test_the_agent_makes_either_store_equal_to_a_document(self):
        agent = os.path.join(BUILD, "bin", "quor-agent")
        if not os.path.exists(agent):
            self.skipTest("quor-agent is not built here")
        for kind in ("store", "file"):
            place = os.path.join(self.directory, "agent-" + kind)
            host = os.path.join(place, "host")
            os.makedirs(host)
            done = subprocess.run(
                [agent, "--config", os.devnull, "--state", os.path.join(place, "state"), "--from",
                 os.path.join(ROOT, "examples", "catalogue.json")], check=False, capture_output=True, text=True,
                env={**os.environ, "LD_LIBRARY_PATH": os.path.join(self.build, kind), "QUOR_HOST_DIR": host})
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertIn("the host holds a document from a file, at release 0 (taking it; 2 replacements", done.stderr)
            self.assertEqual(os.listdir(host), [], "this platform's records are in its own memory")

    def test_it_has_every_symbol_that_libquor_takes_from_a_platform(self):
        def symbols(option, library):
            lines = run("nm", "-D", option, library).splitlines()
            return {line.split()[-1].replace("@@", "@") for line in lines if "@QUOR_PLAT" in line or
                    "@@QUOR_PLAT" in line}

        library = installed_tree.library_directory(self.prefix)
        libquor = os.path.join(library, "libquor.so.1")
        optional = {line.split()[-1] for line in run("nm", "-D", libquor).splitlines()
                    if line.split()[-2] == "w"}
        wanted = symbols("--undefined-only", libquor)
        self.assertIn("CryptoHash_ComputeMD5OfEach@QUOR_PLATFORM_1.0", wanted & optional)
        wanted -= optional
        self.assertGreater(len(wanted), 30)
        for kind in ("store", "file"):
            given = symbols("--defined-only",
                            os.path.join(self.build, kind, "libquor-platform.so.1"))
            self.assertEqual(wanted - given, set(), kind)


if __name__ == "__main__":
    BUILD, CMAKE, ROOT = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main(verbosity=2)
