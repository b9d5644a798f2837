# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The Debian packages: built from the tree, installed in a clean root, and used there.

    debian_packages_test.py ROOT [TEST...]

Needs root. With QUOR_PACKAGES in the environment the packages in that directory are tried, as
scripts/package left them, and none are built. QUOR_CLEAN_ROOT is "debootstrap" or "unpacked" where
the root is to be made that way and no other.
"""
import glob
import json
import os
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest

import links
from clean_root import CleanRoot

ROOT = ""

NAMES = ["libquor-dev", "libquor-doc", "libquor-platform-dev", "libquor1",
         "libquorc-dev", "libquorc1", "python3-quor", "quor-agent", "quor-common", "quor-publish", "quorctl"]
DOCUMENTATION = "/usr/share/doc/libquor-doc"
CATALOGUE = DOCUMENTATION + "/examples/catalogue.json"
HOST = "var/lib/quor"
MEMBER, STRANGER = 1000, 1001  # users; their groups have the same numbers
PERMISSION_DENIED = 7  # exit status of quorctl


def field(package, name):
    return subprocess.run(["dpkg-deb", "--field", package, name], check=True, capture_output=True,
                          text=True).stdout.strip()


def alternatives(package):
    """The dependencies of a package, each a list of the names that will do."""
    return [[re.split(r"[ (:]", part.strip())[0] for part in one.split("|")]
            for one in field(package, "Depends").split(",") if one]


def files_in(package):
    listing = subprocess.run(["dpkg-deb", "--contents", package], check=True, capture_output=True,
                             text=True).stdout
    return [line.split()[5].lstrip(".") for line in listing.splitlines()]


def documented_files():
    """Names of the files in the host directory, from the table in docs/formats.md."""
    with open(os.path.join(ROOT, "docs", "formats.md"), encoding="utf-8") as file:
        table = file.read().split("| name | owner, mode |")[1].split("\n\n")[0]
    names = [name for row in re.findall(r"^\|(.*?)\|", table, re.MULTILINE)
             for name in re.findall("`([^`/]+)`", row) if name != "."]
    replaced = [name for name in names if not name.startswith(".") and not name.endswith(".lock")]
    for name in names:
        for one in replaced if "NAME" in name else [name]:
            yield name.replace("NAME", one).replace("X", "0")


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
        cls.output = output
        paths = glob.glob(os.path.join(output, "*.deb"))
        return {os.path.basename(path).split("_")[0]: path for path in paths
                if "-dbgsym_" not in path}

    @classmethod
    def install(cls):
        path = os.path.join(cls.directory, "root")
        os.mkdir(path)
        others = [names for package in cls.packages.values() for names in alternatives(package)
                  if names[0] not in cls.packages]
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
        self.assertEqual(len(glob.glob(os.path.join(self.output, "quor_*.dsc"))), 1)

    def test_the_library_needs_just_what_its_files_need(self):
        names = [names for [names] in alternatives(self.packages["libquor1"])]
        self.assertEqual(sorted(names), ["libc6", "libgcc-s1", "libmd0", "libstdc++6",
                                         "quor-common"])

    def test_the_group_and_the_directory_need_no_package_that_a_minimal_system_lacks(self):
        self.assertEqual(alternatives(self.packages["quor-common"]), [["passwd"]])
        self.assertFalse(os.path.exists(os.path.join(self.root.path, "usr/bin/systemd-tmpfiles")))

    def test_both_libraries_have_their_symbols_listed(self):
        with tempfile.TemporaryDirectory(dir=self.directory) as control:
            subprocess.run(["dpkg-deb", "--control", self.packages["libquor1"], control],
                           check=True)
            with open(os.path.join(control, "symbols"), encoding="utf-8") as file:
                text = file.read()
        # That of the library for C is in a package of its own, checked by package.version_maps.
        for library in ("libquor", "libquor-platform"):
            [section] = re.findall(rf"^{library}\.so\.1 libquor1 #MINVER#\n((?:[* ].*\n)+)", text,
                                   re.MULTILINE)
            listed = re.findall(r"^ (\S+@\S+) [\d.]+$", section, re.MULTILINE)
            with open(os.path.join(ROOT, "tests", "package", library + ".symbols"),
                      encoding="utf-8") as file:
                expected = file.read().replace("@@", "@").split()
            nodes = {"@".join([symbol.split("@")[1]] * 2) for symbol in expected}
            self.assertEqual(sorted(listed), sorted({*expected, *nodes}))

    def test_each_package_has_its_files(self):
        for package, pattern in (
                ("libquor1", r"/usr/lib/[\w-]+/libquor\.so\.1"),
                ("libquor1", r"/usr/lib/[\w-]+/libquor-platform\.so\.1"),
                ("libquor-dev", r"/usr/include/quor/quor_lib\.h"),
                ("libquor-dev", r"/usr/lib/[\w-]+/cmake/quor/quor-config\.cmake"),
                ("libquor-dev", r"/usr/lib/[\w-]+/pkgconfig/quor\.pc"),
                ("libquor-platform-dev", r"/usr/include/quor-platform/tavconfigstore/object\.h"),
                ("libquor-dev", r"/usr/share/man/man3/libquor\.3\.gz"),
                ("libquorc1", r"/usr/lib/[\w-]+/libquorc\.so\.1"),
                ("libquorc-dev", r"/usr/include/quor/quor\.h"),
                ("libquorc-dev", r"/usr/lib/[\w-]+/pkgconfig/quorc\.pc"),
                ("libquorc-dev", r"/usr/lib/[\w-]+/cmake/quor/quor-c-targets\.cmake"),
                ("libquorc-dev", r"/usr/share/man/man3/libquorc\.3\.gz"),
                ("python3-quor", "/usr/lib/python3/dist-packages/quor/_quor.abi3.so"),
                ("quorctl", "/usr/bin/quorctl"),
                ("quorctl", r"/usr/share/man/man5/quor-catalogue\.5\.gz"),
                ("quorctl", r"/usr/share/man/man7/quorctl-examples\.7\.gz"),
                ("quorctl", r"/usr/share/man/man8/quorctl\.8\.gz"),
                ("quorctl", "/usr/share/bash-completion/completions/quorctl"),
                ("quorctl", "/usr/share/zsh/vendor-completions/_quorctl"),
                ("quor-agent", "/usr/bin/quor-agent"),
                ("quor-agent", "/etc/quor/quor-agent.conf"),
                ("quor-agent", "/lib/systemd/system/quor-agent.service"),
                ("quor-agent", r"/usr/share/man/man8/quor-agent\.8\.gz"),
                ("quor-publish", "/usr/bin/quor-publish"),
                ("quor-publish", r"/usr/share/man/man8/quor-publish\.8\.gz"),
                ("quor-common", r"/usr/lib/sysusers\.d/quor\.conf"),
                ("quor-common", r"/usr/lib/tmpfiles\.d/quor\.conf"),
                ("libquor-doc", DOCUMENTATION + r"/README\.md"),
                ("libquor-doc", DOCUMENTATION + r"/docs/formats\.md"),
                ("libquor-doc", CATALOGUE)):
            files = files_in(self.packages[package])
            self.assertTrue(any(re.fullmatch(pattern, file) for file in files), (package, pattern))

    def test_every_link_in_the_documentation_leads_somewhere(self):
        directory = self.root.path + DOCUMENTATION
        found = links.in_texts(directory)
        self.assertGreater(len(found), 10)
        self.assertEqual([link for link in found if not links.leads_somewhere(directory, link)], [])

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

    def test_programs_that_are_built_with_the_development_package_run(self):
        # By debian/tests/build with this machine's compiler; in the root there is none.
        self.apply_catalogue()
        [pc] = glob.glob(os.path.join(self.root.path, "usr/lib/*/pkgconfig"))
        libraries = os.path.join(self.directory, "libraries")  # ours alone, not the root's libc
        os.mkdir(libraries)
        for name in ("libquor.so.1", "libquor-platform.so.1"):
            os.symlink(os.path.join(os.path.dirname(pc), name), os.path.join(libraries, name))
        programs = os.path.join(self.root.path, "tmp", "programs")
        os.mkdir(programs)
        built = subprocess.run(
            [os.path.join(ROOT, "debian/tests/build")], cwd=ROOT, check=False, text=True,
            capture_output=True,
            env={**os.environ, "AUTOPKGTEST_TMP": programs, "PKG_CONFIG_LIBDIR": pc,
                 "PKG_CONFIG_SYSROOT_DIR": self.root.path, "LD_LIBRARY_PATH": libraries})
        self.assertEqual((built.returncode, built.stderr), (0, ""), built.stdout)

        answer = self.root.run("/tmp/programs/look_up_blob", "ds:///shares/mail/", user=MEMBER,
                               groups=[MEMBER, self.root.group("quor")])
        self.assertEqual(answer.returncode, 0, answer.stderr)
        self.assertEqual(answer.stdout,
                         self.quorctl("blob", "--default-of", "ds:///shares/mail/").stdout)

    def test_the_packages_own_test_of_the_catalogue_passes(self):
        copy = os.path.join(self.root.path, "tmp", "source")
        for file in ("debian/tests/catalogue", "examples/catalogue.json"):
            os.makedirs(os.path.dirname(os.path.join(copy, file)))
            shutil.copy(os.path.join(ROOT, file), os.path.join(copy, file))
        os.mkdir(os.path.join(self.root.path, "tmp", "autopkgtest"))
        result = self.root.run("env", "--chdir=/tmp/source", "AUTOPKGTEST_TMP=/tmp/autopkgtest",
                               "debian/tests/catalogue")
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_a_manager_that_is_not_root_keeps_the_directory_at_boot_and_reinstallation(self):
        host = os.path.join(self.root.path, HOST)
        before = os.stat(host)
        self.addCleanup(os.chmod, host, stat.S_IMODE(before.st_mode))
        self.addCleanup(os.chown, host, before.st_uid, before.st_gid)
        os.chown(host, MEMBER, STRANGER)
        os.chmod(host, 0o2770)
        for way in (self.boot, lambda: self.root.install([self.packages["quor-common"]])):
            way()
            status = os.stat(host)
            self.assertEqual((status.st_uid, status.st_gid, oct(stat.S_IMODE(status.st_mode))),
                             (MEMBER, STRANGER, "0o2770"))

    def test_a_boot_makes_the_directory_where_it_is_missing(self):
        host = os.path.join(self.root.path, HOST)
        shutil.rmtree(host)
        self.addCleanup(self.root.install, self.packages.values())
        self.boot()
        status = os.stat(host)
        self.assertEqual((status.st_uid, status.st_gid, oct(stat.S_IMODE(status.st_mode))),
                         (0, self.root.group("quor"), "0o2750"))

    def boot(self):
        """What the start of a system does to the directory."""
        subprocess.run(["systemd-tmpfiles", "--root=" + self.root.path, "--boot", "--create",
                        "quor.conf"], check=True, capture_output=True)

    def test_removing_the_packages_leaves_the_catalogue(self):
        self.apply_catalogue()
        self.take_away("--remove")
        self.assertTrue(os.path.exists(os.path.join(self.root.path, HOST, "config-store.cdb")))
        self.root.install(self.packages.values())
        self.assertEqual(self.quorctl("digest", user=MEMBER).returncode, 0)

    def test_purging_the_packages_deletes_the_catalogue_and_its_history_and_keeps_the_group(self):
        host = self.fill_host_directory()
        self.assertNotEqual(os.listdir(os.path.join(host, "history")), [])
        self.assertEqual(self.take_away("--purge"), "")
        self.assertFalse(os.path.exists(host))
        self.assertIsNotNone(self.root.group("quor"))

    def test_purging_empties_a_host_directory_that_is_a_mount_point(self):
        host = self.fill_host_directory()
        copy = host + "-copy"
        shutil.copytree(host, copy)
        self.addCleanup(shutil.rmtree, copy)
        # Nobody else sees the mount; it ends with the command.
        commands = """
            mount -t tmpfs none "$1"; cp -a "$0/." "$1"; mkdir "$1/lost+found"
            mount -t tmpfs none "$1/history"; cp -a "$0/history/." "$1/history"
            dpkg --root="$2" --purge quor-common quorctl quor-agent quor-publish python3-quor libquorc-dev libquorc1 libquor1 libquor-dev libquor-platform-dev >&2
            find "$1" -mindepth 1"""
        purged = subprocess.run(["unshare", "--mount", "sh", "-ec", commands, copy, host,
                                 self.root.path],
                                check=False, capture_output=True, text=True)
        self.assertEqual((purged.returncode, purged.stdout), (0, os.path.join(host, "history") + "\n"),
                         purged.stderr)
        self.assertIn(f"quor-common: the catalogue in /{HOST} is deleted, the directory is left: it is "
                      "a mount point or has one\n", purged.stderr)

    def test_purging_follows_a_link_and_deletes_the_catalogue_alone(self):
        host = self.fill_host_directory()
        place = os.path.join(self.root.path, "var/lib/elsewhere")
        self.addCleanup(shutil.rmtree, place)
        os.rename(host, place)
        os.symlink("elsewhere", host)
        foreign = os.path.join(place, "foreign.cdb")
        with open(foreign, "wb"):
            pass
        said = self.take_away("--purge")
        self.assertFalse(os.path.lexists(host))
        self.assertEqual(os.listdir(place), ["foreign.cdb"])
        self.assertEqual(said, f"quor-common: /{HOST} was a link: the catalogue in /var/lib/elsewhere is "
                               "deleted, what else is there is left\n")

    def test_purging_leaves_a_document_that_the_configuration_file_was_a_link_to(self):
        host = self.fill_host_directory()
        document = os.path.join(self.root.path, "etc/shared.json")
        os.rename(os.path.join(host, "host-config.json"), document)
        self.addCleanup(os.remove, document)
        os.symlink("/etc/shared.json", os.path.join(host, "host-config.json"))
        said = self.take_away("--purge")
        self.assertFalse(os.path.exists(host))
        self.assertGreater(os.path.getsize(document), 0)
        self.assertEqual(said, f"quor-common: the configuration file /etc/shared.json is left, /{HOST}/"
                               "host-config.json was a link to it\n")

    def fill_host_directory(self):
        """The catalogue in both stores, and all that docs/formats.md says there may be. The packages are
        installed again afterwards."""
        self.addCleanup(self.root.install, self.packages.values())
        with open(self.root.path + CATALOGUE, encoding="utf-8") as file:
            catalogue = json.load(file)
        for policy in catalogue["policies"]:
            policy["generation"] %= 1000  # the configuration file keeps 32 bits
        with open(self.root.path + "/tmp/catalogue.json", "w", encoding="utf-8") as file:
            json.dump(catalogue, file)
        for store in ("file", "store"):
            for command in (["switch", "--yes", store], ["apply", "--yes", "/tmp/catalogue.json"]):
                result = self.quorctl(*command)
                self.assertEqual(result.returncode, 0, result.stderr)
        host = os.path.join(self.root.path, HOST)
        for name in documented_files():
            with open(os.path.join(host, name), "ab"):
                pass
        return host

    def take_away(self, how):
        """Returns what the packages' scripts said."""
        return subprocess.run(["dpkg", "--root=" + self.root.path, how, *self.packages], check=True,
                              capture_output=True, text=True).stderr


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main(verbosity=2)
