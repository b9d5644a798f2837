# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""What `cmake --install` puts where, and that the prefix may be moved.

    install_test.py BUILD CMAKE ROOT VERSION [TEST...]
"""
import os
import re
import sys
import unittest

import installed_tree
import links
import source_tree
from installed_tree import run

BUILD = CMAKE = ROOT = VERSION = ""

LIBRARY = r"lib(/[\w-]+)?"  # with the machine's name where the system has it so
COMPONENTS = {
    "runtime": [
        rf"{LIBRARY}/libquor\.so\.1", rf"{LIBRARY}/libquor\.so\.VERSION",
        rf"{LIBRARY}/libquor-platform\.so\.1", rf"{LIBRARY}/libquor-platform\.so\.VERSION",
        r"lib/sysusers\.d/quor\.conf", r"lib/tmpfiles\.d/quor\.conf"],
    "development": [
        r"include/quor/quor_lib\.h", rf"{LIBRARY}/libquor\.so", rf"{LIBRARY}/pkgconfig/quor\.pc",
        rf"{LIBRARY}/cmake/quor/quor-config\.cmake",
        rf"{LIBRARY}/cmake/quor/quor-config-version\.cmake",
        rf"{LIBRARY}/cmake/quor/quor-targets\.cmake",
        rf"{LIBRARY}/cmake/quor/quor-targets-\w+\.cmake", r"share/man/man3/libquor\.3"],
    "c-runtime": [rf"{LIBRARY}/libquorc\.so\.1", rf"{LIBRARY}/libquorc\.so\.VERSION"],
    "c-development": [
        r"include/quor/quor\.h", rf"{LIBRARY}/libquorc\.so", rf"{LIBRARY}/pkgconfig/quorc\.pc",
        rf"{LIBRARY}/cmake/quor/quor-c-targets\.cmake",
        rf"{LIBRARY}/cmake/quor/quor-c-targets-\w+\.cmake", r"share/man/man3/libquorc\.3"],
    "python": [r"lib/python3/dist-packages/quor/\w+\.py",
               r"lib/python3/dist-packages/quor/(py\.typed|_quor\.abi3\.so)"],
    "platform-development": [
        r"include/quor-platform/(platform|brisk|tavconfigstore|zynctl)/\w+\.h",
        rf"{LIBRARY}/libquor-platform\.so", rf"{LIBRARY}/pkgconfig/quor-platform\.pc",
        rf"{LIBRARY}/cmake/quor/quor-platform\.cmake"],
    "tools": [r"bin/quorctl", r"share/man/man5/quor-catalogue\.5",
              r"share/man/man7/quorctl-examples\.7", r"share/man/man8/quorctl\.8",
              r"share/bash-completion/completions/quorctl",
              r"share/zsh/(site-functions|vendor-completions)/_quorctl"],
    "quor-agent": [r"bin/quor-agent", r"share/man/man8/quor-agent\.8", r"lib/systemd/system/quor-agent\.service",
                   r"share/doc/quor-agent/quor-agent\.conf"],
    "quor-publish": [r"bin/quor-publish", r"share/man/man8/quor-publish\.8"],
    "documentation": [
        r"share/doc/[\w-]+/(README|CHANGELOG|SECURITY)\.md", r"share/doc/[\w-]+/LICENSE",
        r"share/doc/[\w-]+/docs/(formats|platform|python)\.md", r"share/doc/[\w-]+/quor\.cdx\.json",
        r"share/doc/[\w-]+/examples/[\w./-]+"],
}


def files_below(prefix):
    return sorted(os.path.relpath(os.path.join(directory, name), prefix)
                  for directory, _, names in os.walk(prefix) for name in names)


def allowed(component):
    patterns = [pattern.replace("VERSION", re.escape(VERSION)) for pattern in COMPONENTS[component]]
    return [re.compile(f"^(?:{pattern})$") for pattern in patterns]


class Components(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = installed_tree.temporary_directory(cls)
        cls.prefixes = {}
        # The tools of a fleet are built where their needs are met.
        for tool in ("quor-agent", "quor-publish"):
            if not os.path.exists(os.path.join(BUILD, "bin", tool)):
                COMPONENTS.pop(tool, None)
        for component in COMPONENTS:
            cls.prefixes[component] = os.path.join(directory, component)
            installed_tree.install(CMAKE, BUILD, cls.prefixes[component], component)
        cls.whole = os.path.join(directory, "whole")
        installed_tree.install(CMAKE, BUILD, cls.whole)

    def test_each_holds_its_files_and_no_others(self):
        for component, prefix in self.prefixes.items():
            files = files_below(prefix)
            for file in files:
                self.assertTrue(any(rule.match(file) for rule in allowed(component)),
                                f"{component} should not hold {file}")
            for rule in allowed(component):
                self.assertTrue(any(rule.match(file) for file in files),
                                f"{component} holds nothing like {rule.pattern}")

    def test_they_share_no_file_and_are_the_whole(self):
        files = [file for prefix in self.prefixes.values() for file in files_below(prefix)]
        self.assertEqual(sorted(files), files_below(self.whole))

    def test_every_header_is_installed(self):
        for source, components, target in (
                ("include", ("development", "c-development"), "include"),
                ("platform/include", ("platform-development",), "include/quor-platform")):
            installed = [file for component in components
                         for file in files_below(os.path.join(self.prefixes[component], target))]
            self.assertEqual(files_below(os.path.join(ROOT, source)), sorted(installed))

    def test_the_links_name_files_beside_them(self):
        library = installed_tree.library_directory(self.whole)
        for name in ("libquor", "libquorc", "libquor-platform"):
            self.assertEqual(os.readlink(os.path.join(library, name + ".so")), name + ".so.1")
            self.assertEqual(os.readlink(os.path.join(library, name + ".so.1")),
                             f"{name}.so.{VERSION}")

    def test_no_directory_is_empty(self):
        empty = [directory for directory, subdirectories, names in os.walk(self.whole)
                 if not subdirectories and not names]
        self.assertEqual(empty, [])

    def test_every_link_in_the_texts_leads_to_an_installed_file(self):
        documentation = self.prefixes["documentation"]
        found = links.in_texts(documentation)
        self.assertGreater(len(found), 10)
        self.assertEqual([link for link in found if not links.leads_somewhere(documentation, link)],
                         [])

    def test_the_texts_name_nothing_that_only_the_source_tree_has(self):
        source = set(source_tree.files(ROOT))
        for path in list(source):
            while path := os.path.dirname(path):
                source.add(path)
        texts = [file for file in files_below(self.whole)
                 if not file.endswith((".json", ".so", ".1", VERSION)) and not file.startswith("bin/")]
        self.assertGreater(len(texts), 40)
        for file in texts:
            with open(os.path.join(self.whole, file), encoding="utf-8") as text:
                named = {word.rstrip("/.") for word in re.findall(r"(?<![\w/.])[\w.-]+/[\w/.-]+|[A-Z]+\.md",
                                                                  text.read())}
            near = os.path.dirname(file)
            missing = [path for path in sorted(named & source) if not any(
                os.path.exists(os.path.join(self.whole, place, path))
                for place in ("", near, os.path.dirname(near)))]
            self.assertEqual(missing, [], file)

    def test_the_readme_is_that_of_the_source_tree_without_what_is_about_it(self):
        [readme] = [file for file in files_below(self.whole)
                    if re.fullmatch(r"share/doc/[\w-]+/README\.md", file)]
        directory = os.path.dirname(os.path.join(self.whole, readme))
        texts = []
        for path in (os.path.join(ROOT, "README.md"), os.path.join(directory, "README.md")):
            with open(path, encoding="utf-8") as file:
                texts.append(file.read())
        texts[0] = re.sub(r"<!-- source tree -->\n.*?<!-- end of source tree -->\n", "", texts[0],
                          flags=re.DOTALL)
        texts[0] = re.sub(r"<!--.*?-->\n", "", texts[0], flags=re.DOTALL)
        self.assertEqual(*map(links.without_links, texts))
        self.assertEqual(links.of(texts[1]), [
            target for target in links.of(texts[0])
            if links.leads_somewhere(directory, ("README.md", target))])

    def test_nobody_but_the_owner_may_change_what_is_installed(self):
        for file in files_below(self.whole):
            mode = os.lstat(os.path.join(self.whole, file)).st_mode
            if not os.path.islink(os.path.join(self.whole, file)):
                self.assertEqual(mode & 0o6022, 0, file)


class Interfaces(unittest.TestCase):
    """What a program that uses the package gets to see."""

    @classmethod
    def setUpClass(cls):
        directory = installed_tree.temporary_directory(cls)
        cls.prefix = installed_tree.install_and_move(CMAKE, BUILD, directory)
        cls.library = installed_tree.library_directory(cls.prefix)

    def texts(self):
        for file in files_below(self.prefix):
            if file.endswith((".cmake", ".pc")):
                with open(os.path.join(self.prefix, file), encoding="utf-8") as text:
                    yield file, text.read()

    def test_no_path_of_the_build_or_of_the_first_prefix_is_in_them(self):
        texts = list(self.texts())
        self.assertEqual(len(texts), 10, [file for file, _ in texts])
        for file, text in texts:
            for path in (ROOT, BUILD, os.path.dirname(self.prefix)):
                self.assertNotIn(path, text, file)

    def test_nothing_private_is_in_them(self):
        for file, text in self.texts():
            self.assertNotRegex(text, r"quor_objects|build_flags|cdb|libmd|-fPI|-std=",
                                file)

    def test_the_libraries_and_the_tool_find_each_other_wherever_they_are(self):
        for file in ("libquor.so.1", "libquorc.so.1", "libquor-platform.so.1"):
            path = os.path.join(self.library, file)
            self.assertRegex(run("readelf", "-dW", path), r"RUNPATH.*\[\$ORIGIN\]")
        environment = {"LD_LIBRARY_PATH": "", "QUOR_HOST_DIR": os.path.join(self.prefix, "none")}
        tool = os.path.join(self.prefix, "bin", "quorctl")
        self.assertIn(VERSION, run(tool, "--version", environment=environment))
        mapped = run("ldd", tool, environment=environment)
        for file in ("libquor-platform.so.1", "libquorc.so.1"):
            self.assertIn(os.path.realpath(self.library) + "/" + file,
                          re.sub(r"/bin/\.\.", "", mapped))

    def test_pkg_config_tells_the_moved_prefix_and_the_version(self):
        environment = {"PKG_CONFIG_PATH": os.path.join(self.library, "pkgconfig")}
        self.assertEqual(run("pkg-config", "--modversion", "quor", environment=environment).strip(),
                         VERSION)
        flags = run("pkg-config", "--cflags", "--libs", "quor", environment=environment).split()
        self.assertEqual(len(flags), 3, flags)
        self.assertEqual(os.path.realpath(flags[0][2:]), os.path.join(self.prefix, "include"))
        self.assertEqual(os.path.realpath(flags[1][2:]), self.library)
        self.assertEqual(flags[2], "-lquor")

    def test_pkg_config_leaves_the_systems_own_directories_to_the_compiler(self):
        root = os.path.join(os.path.dirname(self.prefix), "system")
        run(CMAKE, "--install", BUILD, "--prefix", "/usr", environment={"DESTDIR": root})
        path = os.path.join(installed_tree.library_directory(root), "pkgconfig")
        for name in ("quor", "quorc", "quor-platform"):
            flags = run("pkg-config", "--cflags", "--libs", name,
                        environment={"PKG_CONFIG_PATH": path}).split()
            flags = [flag for flag in flags if flag != "-I/usr/include/quor-platform"]
            self.assertEqual(flags, ["-l" + name])

    def test_no_path_of_a_package_file_has_an_empty_part(self):
        for file, text in self.texts():
            if file.endswith(".pc"):
                self.assertNotIn("//", re.sub(r"\$\{prefix\}", self.prefix_in(text), text), file)

    @staticmethod
    def prefix_in(text):
        return re.search(r"^prefix=(.*)$", text, re.MULTILINE).group(1)

    def test_only_the_same_major_version_is_compatible(self):
        script = os.path.join(os.path.dirname(self.prefix), "version.cmake")
        with open(script, "w", encoding="utf-8") as file:
            file.write('include("${FILE}")\nmessage("compatible: ${PACKAGE_VERSION_COMPATIBLE}")\n')
        version_file = os.path.join(self.library, "cmake", "quor", "quor-config-version.cmake")
        major = int(VERSION.split(".", maxsplit=1)[0])
        for wanted, answer in ((major, "TRUE"), (major + 1, "FALSE"), (major - 1, "FALSE")):
            printed = run("sh", "-c", '"$0" "$@" 2>&1', CMAKE, f"-DFILE={version_file}",
                          f"-DPACKAGE_FIND_VERSION={wanted}",
                          f"-DPACKAGE_FIND_VERSION_MAJOR={wanted}",
                          "-DPACKAGE_FIND_VERSION_COUNT=1",
                          "-DCMAKE_SIZEOF_VOID_P=8", "-P", script)
            self.assertIn(f"compatible: {answer}", printed)


class Version(unittest.TestCase):
    """The version is written once, in CMakeLists.txt; texts that must name it agree with it."""

    def first_match(self, pattern, *path):
        with open(os.path.join(ROOT, *path), encoding="utf-8") as file:
            return re.search(pattern, file.read(), re.MULTILINE).group(1)

    def test_the_newest_section_of_the_change_log_is_of_this_version(self):
        self.assertEqual(self.first_match(r"^## (\d\S*)", "CHANGELOG.md"), VERSION)

    def test_the_debian_packages_are_of_this_version(self):
        newest = self.first_match(r"^quor \(([\d.]+)-\d+\)", "debian", "changelog")
        self.assertEqual(newest, VERSION)


if __name__ == "__main__":
    BUILD, CMAKE, ROOT, VERSION = sys.argv[1:5]
    del sys.argv[1:5]
    unittest.main(verbosity=2)
