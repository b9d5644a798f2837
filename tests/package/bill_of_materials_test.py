# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The bill of materials names what is in the built files, in the versions that were there.

    bill_of_materials_test.py BUILD [TEST...]

What is in them is seen from the headers that Ninja knows of and from the needed shared libraries. The
Debian packages that these come from tell the versions a second time.
"""
import json
import os
import re
import subprocess
import sys
import unittest

BUILD = ""

# Components by the Debian packages of their headers and by the names of their shared libraries.
HEADERS = {
    "xxhash": "libxxhash-dev", "libmd": "libmd-dev",
    "cli11": "libcli11-dev", "nlohmann-json": "nlohmann-json3-dev", "yaml-cpp": "libyaml-cpp-dev",
    "linux": "linux-libc-dev", "libpq": "libpq-dev", "libcrypto": "libssl-dev", "zlib": "zlib1g-dev",
    "glibc": "libc6-dev", "gcc": r"(libstdc\+\+|libgcc)-\d+-dev",
}
LIBRARIES = {
    "libmd": r"libmd\.so\.\d+", "yaml-cpp": r"libyaml-cpp\.so\.[\d.]+",
    "gcc": r"(libstdc\+\+|libgcc_s)\.so\.\d+", "glibc": r"(libc|libm|ld-linux.*)\.so\.\d+",
    "libpq": r"libpq\.so\.\d+", "libcrypto": r"libcrypto\.so\.\d+", "zlib": r"libz\.so\.\d+",
    "libquor.so.1": r"libquor\.so\.1", "libquorc.so.1": r"libquorc\.so\.1",
    "libquor-platform.so.1": r"libquor-platform\.so\.1",
}
CATALOGUE, TERMINAL, FLEET = (f"tools/{directory}/CMakeFiles/{library}.dir/" for directory, library in (
    ("catalogue", "quor_catalogue"), ("quorctl", "quor_terminal"), ("fleet", "quor_fleet")))
BUILT = {
    "libquor.so.1": ("lib/libquor.so.1", ["src/CMakeFiles/quor_objects.dir/"]),
    "libquorc.so.1": ("lib/libquorc.so.1", ["c/CMakeFiles/quorc.dir/"]),
    "libquor-platform.so.1": ("lib/libquor-platform.so.1",
                              ["platform/CMakeFiles/quor_platform_objects.dir/"]),
    "quorctl": ("bin/quorctl", ["tools/quorctl/CMakeFiles/quorctl.dir/", CATALOGUE, TERMINAL]),
    "quor-agent": ("bin/quor-agent", ["tools/quor-agent/CMakeFiles/quor-agent.dir/", CATALOGUE, FLEET]),
    "quor-publish": ("bin/quor-publish", ["tools/quor-publish/CMakeFiles/quor-publish.dir/",
                                          CATALOGUE, TERMINAL, FLEET]),
}
REQUIRED = {"type", "bom-ref", "name", "version"}
OPTIONAL = {"description", "licenses", "purl", "components"}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


def component_of(name, table):
    found = [component for component, pattern in table.items() if re.fullmatch(pattern, name)]
    if len(found) != 1:
        raise ValueError(f"{name}: no component of the bill of materials, but a part of what is built")
    return found[0]


def included_headers(objects):
    """System headers that the object files in these directories were compiled from."""
    headers, wanted = set(), False
    for line in run("ninja", "-C", BUILD, "-t", "deps").splitlines():
        if line and not line.startswith(" "):
            wanted = line.startswith(tuple(objects))
        elif wanted and line.strip().startswith("/usr/"):
            headers.add(os.path.realpath(line.strip()))
    return headers


def packages_of(files):
    found = run("dpkg-query", "-S", *sorted(files))
    return {re.split("[:,]", line)[0] for line in found.splitlines()}


class BillOfMaterials(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(os.path.join(BUILD, "documentation", "quor.cdx.json"), encoding="utf-8") as file:
            cls.bill = json.load(file)
        cls.product = cls.bill["metadata"]["component"]
        cls.materials = {one["bom-ref"]: one for one in cls.bill["components"]}
        cls.needs = {one["ref"]: set(one["dependsOn"]) for one in cls.bill["dependencies"]}

    def test_it_has_the_form_of_a_bill_of_materials(self):
        self.assertEqual(set(self.bill), {"bomFormat", "specVersion", "version", "metadata",
                                          "components", "dependencies"})
        self.assertEqual((self.bill["bomFormat"], self.bill["specVersion"], self.bill["version"]),
                         ("CycloneDX", "1.4", 1))
        components = [self.product, *self.product["components"], *self.bill["components"]]
        for one in components:
            self.assertLessEqual(REQUIRED, set(one))
            self.assertLessEqual(set(one), REQUIRED | OPTIONAL)
            self.assertIn(one["type"], ("library", "application"))
            self.assertRegex(one["version"], r"^\d+(\.\d+)*$", one["name"])
            for licence in one.get("licenses", ()):
                self.assertEqual(len(licence), 1)
            if "purl" in one:
                self.assertEqual(one["purl"], f"pkg:generic/{one['name']}@{one['version']}")
        names = [one["bom-ref"] for one in components]
        self.assertEqual(len(names), len(set(names)))
        self.assertEqual(set(self.needs) | set().union(*self.needs.values()), set(names))
        for one in self.materials.values():
            self.assertIn("licenses", one)

    def test_each_built_file_has_the_materials_that_are_in_it(self):
        self.assertEqual({one["name"] for one in self.product["components"]},
                         {name for name, (file, _) in BUILT.items()
                          if os.path.exists(os.path.join(BUILD, file))})
        for name, (file, objects) in BUILT.items():
            if name not in self.needs:
                continue
            needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-dW", os.path.join(BUILD, file)))
            headers = included_headers(objects)
            self.assertGreater(len(headers), 20)
            parts = {component_of(library, LIBRARIES) for library in needed}
            parts |= {component_of(package, HEADERS) for package in packages_of(headers)}
            self.assertEqual(parts, self.needs[name], name)

    def test_the_versions_are_those_of_the_installed_packages(self):
        listed = run("dpkg-query", "-W", "-f=${Package} ${source:Upstream-Version}\n")
        installed = dict(line.split(" ", 1) for line in listed.splitlines())
        for name in set(HEADERS) & set(self.materials):
            pattern = HEADERS[name]
            version = self.materials[name]["version"]
            versions = [own for package, own in installed.items() if re.fullmatch(pattern, package)]
            self.assertTrue(any(re.match(re.escape(version) + r"(\D|$)", own) for own in versions),
                            f"{name} {version} is not one of {versions}")


if __name__ == "__main__":
    BUILD = sys.argv.pop(1)
    unittest.main(verbosity=2)
