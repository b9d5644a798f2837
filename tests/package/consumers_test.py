# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Programs of somebody else, built against an installed tree that was moved, and run.

    consumers_test.py BUILD CMAKE ROOT COMPILER STANDARD [TEST...]

The programs are those of examples/, by CMake and by pkg-config. STANDARD is 11, 14, 17 or 20.
"""
import os
import subprocess
import sys
import unittest
from concurrent.futures import ThreadPoolExecutor

import installed_tree
from installed_tree import run

BUILD = CMAKE = ROOT = COMPILER = STANDARD = ""

EXAMPLES = ("push_catalogue", "look_up_blob", "watch_catalogue")
C_EXAMPLES = ("push_catalogue", "look_up_blob")
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
NOTHING = "none"


class Consumers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = installed_tree.temporary_directory(cls)
        cls.prefix = installed_tree.install_and_move(CMAKE, BUILD, cls.directory)
        cls.library = installed_tree.library_directory(cls.prefix)

    def test_built_by_cmake(self):
        build = os.path.join(self.directory, "cmake")
        run(CMAKE, "-S", os.path.join(ROOT, "examples"), "-B", build, "-G", "Ninja",
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_COMPILER={COMPILER}",
            f"-DCMAKE_CXX_STANDARD={STANDARD}", "-DCMAKE_CXX_EXTENSIONS=OFF",
            "-DCMAKE_CXX_FLAGS=" + " ".join(STRICT), environment={"CXXFLAGS": "", "LDFLAGS": ""})
        run(CMAKE, "--build", build, "-j", "2")
        # CMake writes the libraries' place into what it builds.
        self.check_programs(build, {"LD_LIBRARY_PATH": ""})

    def test_built_by_pkg_config(self):
        build = os.path.join(self.directory, "pkg-config")
        os.mkdir(build)
        path = os.path.join(self.library, "pkgconfig")
        flags = run("pkg-config", "--cflags", "--libs", "quor",
                    environment={"PKG_CONFIG_PATH": path}).split()

        def compile_example(name):
            run(COMPILER, f"-std=c++{STANDARD}", *STRICT, "-o", os.path.join(build, name),
                os.path.join(ROOT, "examples", name + ".cpp"), *flags)

        with ThreadPoolExecutor(2) as pool:
            list(pool.map(compile_example, EXAMPLES))
        self.check_programs(build, {"LD_LIBRARY_PATH": self.library})

    def test_in_c_built_by_cmake_and_by_pkg_config(self):
        build = os.path.join(self.directory, "c")
        run(CMAKE, "-S", os.path.join(ROOT, "examples"), "-B", build, "-G", "Ninja",
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_COMPILER={COMPILER}",
            environment={"CFLAGS": "", "CXXFLAGS": "", "LDFLAGS": ""})
        run(CMAKE, "--build", build, "--target", *(name + "_c" for name in C_EXAMPLES),
            "watch_epoll", "watch_sd_event")
        self.check_c_programs(build, {"LD_LIBRARY_PATH": ""})
        self.check_loop(build, ["watch_epoll", "1"],
                        "policies changed, datastores changed\n|policies changed, datastores as before\n")
        self.check_loop(build, ["watch_sd_event"], "changed\n")
        build = os.path.join(self.directory, "c-pkg-config")
        os.mkdir(build)
        flags = run("pkg-config", "--cflags", "--libs", "quorc",
                    environment={"PKG_CONFIG_PATH": os.path.join(self.library, "pkgconfig")})
        for name in C_EXAMPLES:
            run("gcc", "-std=c89", *STRICT, "-o", os.path.join(build, name + "_c"),
                os.path.join(ROOT, "examples", name + ".c"), *flags.split())
        self.check_c_programs(build, {"LD_LIBRARY_PATH": self.library})

    def check_loop(self, build, command, shown):
        """An event loop ends with the first change, which is of the policies."""
        host = f"{build}-{command[0]}-host"
        os.mkdir(host)
        os.chmod(host, 0o755)
        environment = {**os.environ, "LD_LIBRARY_PATH": "", "QUOR_HOST_DIR": host}
        watching = subprocess.Popen([os.path.join(build, command[0]), *command[1:]],
                                    stdout=subprocess.PIPE, text=True, env=environment)
        try:
            self.assertEqual(watching.stdout.readline(), "watching\n")
            run(os.path.join(build, "push_catalogue_c"), environment=environment)
            seen, _ = watching.communicate(timeout=60)
        finally:
            watching.kill()
            watching.wait()
        self.assertRegex(seen, f"^({shown})$")
        self.assertEqual(watching.returncode, 0)

    def check_c_programs(self, build, environment):
        host = build + "-host"
        os.mkdir(host)
        os.chmod(host, 0o755)
        environment = {**environment, "QUOR_HOST_DIR": host}
        push, look_up = (os.path.join(build, name + "_c") for name in C_EXAMPLES)
        self.assertEqual(run(push, environment=environment),
                         "pushed 1 policy and 2 datastores\n")
        self.assertEqual(run(look_up, "ds:///shares/mail/", environment=environment),
                         '<rules copies="3"/>')
        self.assertEqual(run(look_up, "ds:///volumes/a1/", "gold-01", environment=environment),
                         "VOLB\0\1\2")
        with self.assertRaisesRegex(installed_tree.Failed, "exit status 1"):
            run(look_up, "ds:///unknown/", environment=environment)

    def check_programs(self, build, environment):
        host = build + "-host"
        os.mkdir(host)
        os.chmod(host, 0o755)
        environment = {**environment, "QUOR_HOST_DIR": host}
        push, look_up, watch = (os.path.join(build, name) for name in EXAMPLES)

        watching = subprocess.Popen([watch, "1", "10"], stdout=subprocess.PIPE, text=True,
                                    env={**os.environ, **environment})
        try:
            self.assertEqual(watching.stdout.readline(), f"policies {NOTHING}\n")
            self.assertEqual(watching.stdout.readline(), f"datastores {NOTHING}\n")
            self.assertEqual(run(push, environment=environment),
                             "pushed 2 policies and 2 datastores\n")
            seen, _ = watching.communicate(timeout=60)
        finally:
            watching.kill()
            watching.wait()
        self.assertRegex(seen, r"^(policies [0-9a-f]{32}\n)?(datastores [0-9a-f]{32}\n)?$")
        self.assertNotEqual(seen, "")

        self.assertEqual(run(look_up, "ds:///shares/mail/", environment=environment),
                         '<rules copies="3"/>')
        self.assertEqual(run(look_up, "ds:///shares/mail/", "silver-01", environment=environment),
                         '<rules copies="2"/>')
        self.assertEqual(run(look_up, "ds:///volumes/a1/", environment=environment),
                         "VOLB\0\1\2")
        with self.assertRaisesRegex(installed_tree.Failed, "exit status 1"):
            run(look_up, "ds:///unknown/", environment=environment)


if __name__ == "__main__":
    BUILD, CMAKE, ROOT, COMPILER, STANDARD = sys.argv[1:6]
    del sys.argv[1:6]
    unittest.main(verbosity=2)
