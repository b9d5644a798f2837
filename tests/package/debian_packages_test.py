"""The Debian packages: built from the tree, installed in a clean root, and used there.

    debian_packages_test.py ROOT [TEST...]

Needs root. With QUOR_PACKAGES in the environment the packages in that directory are tried, as
scripts/package left them, and none are built. QUOR_CLEAN_ROOT is "debootstrap" or "unpacked" where
the root is to be made that way and no other.
"""
import glob
import os
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest

from clean_root import CleanRoot

ROOT = ""

NAMES = ["libquor-dev", "libquor-doc", "libquor-platform-dev", "libquor1", "quor-common", "quorctl"]
CATALOGUE = "/usr/share/doc/libquor-doc/examples/catalogue.json"
HOST = "var/lib/quor"
MEMBER, STRANGER = 1000, 1001  # users; their groups have the same numbers
PERMISSION_DENIED = 7  # exit status of quorctl


def field(package, name):
    return subprocess.run(["dpkg-deb", "--field", package, name], check=True, capture_output=True,
                          text=True).stdout.strip()


def files_in(package):
    listing = subprocess.run(["dpkg-deb", "--contents", package], check=True, capture_output=True,
                             text=True).stdout
    return [line.split()[5].lstrip(".") for line in listing.splitlines()]


class DebianPackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if os.geteuid() != 0:
            raise RuntimeError("needs root: makes a root directory and becomes other users there")
        cls.directory = tempfile.mkdtemp(prefix="quor-debian-")
        cls.addClassCleanup(shutil.rmtree, cls.directory)
        os.chmod(cls.directory, 0o755)
        cls.packages = cls.find_or_build()
        cls.root = cls.install()

    @classmethod
    def find_or_build(cls):
        """Paths of the packages by their names."""
        output = os.environ.get("QUOR_PACKAGES")
        if not output:
            output = os.path.join(cls.directory, "packages")
            built = subprocess.run([os.path.join(ROOT, "scripts", "package")], check=False,
                                   text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   env={**os.environ, "QUOR_PACKAGES_DIRECTORY": output})
            if built.returncode != 0:
                raise RuntimeError("scripts/package failed:\n" + built.stdout[-8000:])
        paths = glob.glob(os.path.join(output, "*.deb"))
        return {os.path.basename(path).split("_")[0]: path for path in paths
                if "-dbgsym_" not in path}

    @classmethod
    def install(cls):
        path = os.path.join(cls.directory, "root")
        os.mkdir(path)
        dependencies = [[re.split(r"[ (:]", part.strip())[0] for part in one.split("|")]
                        for package in cls.packages.values()
                        for one in field(package, "Depends").split(",") if one]
        others = [names for names in dependencies if names[0] not in cls.packages]
        root = CleanRoot(path, others, os.environ.get("QUOR_CLEAN_ROOT"))
        print(f"clean root: {root.how}", file=sys.stderr)
        root.install(cls.packages.values())
        host = os.path.join(path, HOST)  # before anything writes there
        cls.host_as_installed = os.stat(host) if os.path.exists(host) else None
        for name, number in (("member", MEMBER), ("stranger", STRANGER)):
            with open(os.path.join(path, "etc/passwd"), "a", encoding="utf-8") as file:
                file.write(f"{name}:x:{number}:{number}::/nonexistent:/bin/sh\n")
        return root

    def quorctl(self, *arguments, user=0):
        groups = {0: [0], MEMBER: [MEMBER, self.root.group("quor")], STRANGER: [STRANGER]}[user]
        return self.root.run("quorctl", *arguments, user=user, groups=groups)

    def apply_catalogue(self):
        result = self.quorctl("apply", CATALOGUE)
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_all_packages_are_built(self):
        self.assertEqual(sorted(self.packages), NAMES)

    def test_the_library_needs_just_what_its_files_need(self):
        depends = field(self.packages["libquor1"], "Depends")
        names = {re.split(r"[ (:]", part.strip())[0] for part in depends.split(",")}
        self.assertEqual(names, {"quor-common", "libc6", "libgcc-s1", "libmd0",
                                 "libsimdjson14", "libstdc++6"})

    def test_both_libraries_have_their_symbols_listed(self):
        with tempfile.TemporaryDirectory(dir=self.directory) as control:
            subprocess.run(["dpkg-deb", "--control", self.packages["libquor1"], control],
                           check=True)
            with open(os.path.join(control, "symbols"), encoding="utf-8") as file:
                text = file.read()
        for soname, symbol in (("libquor.so.1", "_ZN7TavQuor7QuorLib5ResetEv@QUOR_1.0"),
                               ("libquor-platform.so.1", "FeatureList@QUOR_PLATFORM_1.0")):
            self.assertIn(f"{soname} libquor1 #MINVER#", text)
            self.assertIn(f" {symbol} 1.0", text)

    def test_each_package_has_its_files(self):
        for package, pattern in (
                ("libquor1", r"/usr/lib/[\w-]+/libquor\.so\.1"),
                ("libquor1", r"/usr/lib/[\w-]+/libquor-platform\.so\.1"),
                ("libquor-dev", r"/usr/include/quor/quor_lib\.h"),
                ("libquor-dev", r"/usr/lib/[\w-]+/cmake/quor/quor-config\.cmake"),
                ("libquor-dev", r"/usr/lib/[\w-]+/pkgconfig/quor\.pc"),
                ("libquor-platform-dev", r"/usr/include/quor-platform/tavconfigstore/object\.h"),
                ("libquor-dev", r"/usr/share/man/man3/libquor\.3\.gz"),
                ("quorctl", "/usr/bin/quorctl"),
                ("quorctl", r"/usr/share/man/man5/quor-catalogue\.5\.gz"),
                ("quorctl", r"/usr/share/man/man7/quorctl-examples\.7\.gz"),
                ("quorctl", r"/usr/share/man/man8/quorctl\.8\.gz"),
                ("quorctl", "/usr/share/bash-completion/completions/quorctl"),
                ("quorctl", "/usr/share/zsh/vendor-completions/_quorctl"),
                ("quor-common", r"/usr/lib/sysusers\.d/quor\.conf"),
                ("quor-common", r"/usr/lib/tmpfiles\.d/quor\.conf"),
                ("libquor-doc", r"/usr/share/doc/libquor-doc/docs/formats\.md"),
                ("libquor-doc", CATALOGUE)):
            files = files_in(self.packages[package])
            self.assertTrue(any(re.fullmatch(pattern, file) for file in files), (package, pattern))

    def test_group_and_directory_are_made(self):
        self.assertIsNotNone(self.root.group("quor"))
        status = self.host_as_installed
        self.assertIsNotNone(status)
        self.assertEqual(stat.S_IMODE(status.st_mode), 0o2750)
        self.assertEqual((status.st_uid, status.st_gid), (0, self.root.group("quor")))

    def test_root_writes_and_a_member_of_the_group_reads_the_same(self):
        self.apply_catalogue()
        for question in (("list", "policies", "-o", "json"), ("list", "datastores"), ("digest",),
                         ("blob", "--policy-id", "gold-01"),
                         ("blob", "--default-of", "ds:///shares/mail/")):
            answer = self.quorctl(*question, user=MEMBER)
            self.assertEqual((answer.returncode, answer.stderr), (0, ""), question)
            self.assertNotEqual(answer.stdout, "")
            self.assertEqual(answer.stdout, self.quorctl(*question).stdout)

    def test_what_root_writes_is_the_groups_to_read(self):
        self.apply_catalogue()
        status = os.stat(os.path.join(self.root.path, HOST, "config-store.cdb"))
        self.assertEqual(stat.S_IMODE(status.st_mode), 0o640)
        self.assertEqual((status.st_uid, status.st_gid), (0, self.root.group("quor")))

    def test_a_member_of_the_group_cannot_write(self):
        self.apply_catalogue()
        before = self.quorctl("digest").stdout
        answer = self.quorctl("reset", "--yes", user=MEMBER)
        self.assertEqual(answer.returncode, PERMISSION_DENIED, answer.stderr)
        self.assertIn("/" + HOST, answer.stderr)
        self.assertEqual(self.quorctl("digest").stdout, before)

    def test_others_cannot_read(self):
        self.apply_catalogue()
        answer = self.quorctl("list", "policies", user=STRANGER)
        self.assertEqual((answer.returncode, answer.stdout), (PERMISSION_DENIED, ""))

    def test_a_program_that_is_built_with_the_development_package_runs(self):
        self.apply_catalogue()
        [pc] = glob.glob(os.path.join(self.root.path, "usr/lib/*/pkgconfig"))
        flags = subprocess.run(["pkg-config", "--cflags", "--libs", "quor"], check=True, text=True,
                               capture_output=True, env={**os.environ, "PKG_CONFIG_PATH": pc})
        library = os.path.dirname(pc)
        subprocess.run(["g++", "-std=c++11", "-o", os.path.join(self.root.path, "tmp", "look_up"),
                        os.path.join(ROOT, "examples", "look_up_blob.cpp"), *flags.stdout.split(),
                        f"-Wl,-rpath-link={library}"], check=True)
        answer = self.root.run("/tmp/look_up", "ds:///shares/mail/", user=MEMBER,
                               groups=[MEMBER, self.root.group("quor")])
        self.assertEqual(answer.returncode, 0, answer.stderr)
        self.assertEqual(answer.stdout,
                         self.quorctl("blob", "--default-of", "ds:///shares/mail/").stdout)

    def test_removing_the_packages_leaves_the_catalogue(self):
        self.apply_catalogue()
        names = ["quorctl", "libquor1", "libquor-dev", "libquor-platform-dev", "quor-common"]
        subprocess.run(["dpkg", "--root=" + self.root.path, "--remove", *names], check=True,
                       capture_output=True)
        self.assertTrue(os.path.exists(os.path.join(self.root.path, HOST, "config-store.cdb")))
        self.root.install([self.packages[name] for name in names])
        self.assertEqual(self.quorctl("digest", user=MEMBER).returncode, 0)


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
