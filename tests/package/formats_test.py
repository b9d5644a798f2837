# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""docs/formats.md against a stored file: a reader written from that page alone.

    formats_test.py [TEST...]

It reads the newest files of golden/ with nothing of the library. Checksums are left to the
library's own tests.
"""
import base64
import json
import os
import struct
import unittest

from golden_test import CONFIG_FILE, CONFIG_STORE, FEATURES, GOLDEN, NEWEST, SWITCH, content

PAGE_SIZE, ROOT_SIZE, FOOTER_SIZE = 4096, 32, 48
POLICIES = b"3:tav,7:storage,13:quor_policies,"
DATASTORES = b"3:tav,7:storage,15:quor_datastores,"


class Cursor:
    def __init__(self, data, position=0):
        self.data, self.position = data, position

    def integers(self, layout):
        values = struct.unpack_from("<" + layout, self.data, self.position)
        self.position += struct.calcsize("<" + layout)
        return values

    def bytes(self, size):
        taken = self.data[self.position:self.position + size]
        if len(taken) != size:
            raise ValueError("cut short")
        self.position += size
        return taken


def read_body(data):
    """Values by their names, and sub-objects as (name, instance, values)."""
    cursor = Cursor(data)
    value_count, sub_count = cursor.integers("II")
    values, subs = {}, []
    for _ in range(value_count):
        kind, name_size, size = cursor.integers("cII")
        name, value = cursor.bytes(name_size), cursor.bytes(size)
        values[name.decode()] = struct.unpack("<q", value)[0] if kind == b"i" else value
    for _ in range(sub_count):
        sizes = cursor.integers("III")
        name, instance, part = (cursor.bytes(size) for size in sizes)
        subs.append((name, instance, read_body(part)[0]))
    if cursor.position != len(data):
        raise ValueError("bytes behind the body")
    return values, subs


class Index:
    """The entries of one index of a snapshot, page by page."""

    def __init__(self, data, start, home_pages, pages):
        self.home_pages, self.pages = home_pages, []
        for page in range(start, start + pages * PAGE_SIZE, PAGE_SIZE):
            count, goes_on = struct.unpack_from("<II", data, page)
            hashes = struct.unpack_from(f"<{count}Q", data, page + 8)
            numbers = struct.unpack_from(f"<{count}I", data, page + 2728)
            self.pages.append((goes_on, list(zip(hashes, numbers))))

    def entries(self):
        return [entry for _, entries in self.pages for entry in entries]

    def home_of(self, value):
        return (value >> 32) * self.home_pages >> 32


class Store:
    """A snapshot of the configuration store."""

    def __init__(self, data):
        self.data = data
        footer = Cursor(data, len(data) - FOOTER_SIZE)
        self.magic = footer.bytes(8)
        self.version, kinds, _, kinds_start, self.size, _ = footer.integers("IIQQQQ")
        root = Cursor(data, len(data) - FOOTER_SIZE - ROOT_SIZE)
        self.records_end, self.count = root.integers("QI")
        keys, values, zero = root.integers("II"), root.integers("II"), root.integers("I")
        position_pages = -(-self.count // 1022)
        start = self.records_end + position_pages * PAGE_SIZE
        self.keys = Index(data, start, *keys)
        self.values = Index(data, start + keys[1] * PAGE_SIZE, *values)
        self.parts_fit = (zero == (0,) and
                          start + (keys[1] + values[1]) * PAGE_SIZE == kinds_start)
        positions = [struct.unpack_from("<I", data, self.records_end + number // 1022 * PAGE_SIZE
                                        + number % 1022 * 4)[0] for number in range(self.count)]
        cursor = Cursor(data, kinds_start)
        self.directory = {}
        for _ in range(kinds):
            name_size, count = cursor.integers("II")
            name = cursor.bytes(name_size)
            self.directory[name], positions = positions[:count], positions[count:]
        self.kinds_end_at_root = cursor.position == len(data) - FOOTER_SIZE - ROOT_SIZE

    def record(self, position):
        cursor = Cursor(self.data, position)
        key_size, data_size = cursor.integers("II")
        return cursor.bytes(key_size), cursor.bytes(data_size)


def stored_bytes(text):
    """The byte string that a text of the configuration file stands for."""
    mark = "\0base64:"
    if text.startswith(mark):
        return base64.b64decode(text[len(mark):], validate=True)
    return text.encode()


class Formats(unittest.TestCase):
    def setUp(self):
        self.store = Store(content(GOLDEN, NEWEST, CONFIG_STORE))
        with open(os.path.join(GOLDEN, NEWEST, CONFIG_FILE), encoding="utf-8") as file:
            self.file = json.load(file)["Quor"]

    def bodies(self, kind):
        return [read_body(self.store.record(position)[1][5:-8])
                for position in self.store.directory[kind]]

    def test_the_footer_is_as_described(self):
        self.assertEqual((self.store.magic, self.store.version), (b"QCFSTOR1", 2))
        self.assertEqual(self.store.size, len(self.store.data))
        self.assertTrue(self.store.parts_fit)
        self.assertTrue(self.store.kinds_end_at_root)
        self.assertEqual(list(self.store.directory), [POLICIES, DATASTORES])

    def test_records_follow_each_other_up_to_the_pages_and_are_numbered(self):
        position, number = 0, 0
        for kind, positions in self.store.directory.items():
            for listed in positions:
                self.assertEqual(listed, position)
                key, data = self.store.record(position)
                self.assertTrue(key.startswith(kind))
                self.assertEqual(struct.unpack_from("<BI", data), (1, number))
                position, number = position + 8 + len(key) + len(data), number + 1
        self.assertEqual((position, number), (self.store.records_end, self.store.count))

    def test_entries_of_the_indexes_are_sorted_and_stand_in_their_home_pages(self):
        for index in (self.store.keys, self.store.values):
            hashes = [value for value, _ in index.entries()]
            self.assertEqual(hashes, sorted(hashes))
            for number, (goes_on, entries) in enumerate(index.pages):
                self.assertEqual(goes_on, 0)
                self.assertEqual({index.home_of(value) for value, _ in entries}, {number})

    def test_the_index_of_keys_leads_to_each_record_once(self):
        self.assertEqual(sorted(number for _, number in self.store.keys.entries()),
                         list(range(self.store.count)))

    def test_the_index_of_values_leads_to_the_first_record_with_each_of_them(self):
        first, number = {}, 0
        for kind in self.store.directory:
            for values, _ in self.bodies(kind):
                for name, value in values.items():
                    first.setdefault((kind, name, value if isinstance(value, bytes) else None),
                                     number)
                number += 1
        self.assertEqual(sorted(number for _, number in self.store.values.entries()),
                         sorted(first.values()))

    def test_both_stores_hold_the_same_policies(self):
        in_file = self.file["Policy-Info"]["policy"]
        in_store = self.bodies(POLICIES)
        self.assertEqual(len(in_store), 4)
        self.assertEqual(len(in_file), 4)
        for (values, subs), policy in zip(in_store, in_file):
            for name, key in (("name", "name"), ("policy_id", "policy-id"),
                              ("description", "description")):
                self.assertEqual(values[name], stored_bytes(policy[key]))
            self.assertEqual(values["generation_number"] % 2**64, int(policy["generation-number"]))
            self.assertEqual(
                [(name, instance, sub["blob"]) for name, instance, sub in subs],
                [(b"blobs", stored_bytes(blob["datastore-namespace"]),
                  base64.b64decode(blob["blob"], validate=True)) for blob in policy["blobs"]])

    def test_both_stores_hold_the_same_datastores(self):
        in_file = self.file["Datastore-Info"]["Datastore"]
        names = {"url": "url", "datastore_namespace": "datastore-namespace",
                 "drp_policy_id": "default-policy-id"}
        self.assertEqual(
            [{name: stored_bytes(one[key]) for name, key in names.items()} for one in in_file],
            [values for values, _ in self.bodies(DATASTORES)])
        self.assertEqual(len(in_file), 3)

    def test_the_switches_are_a_byte_each(self):
        switches = content(GOLDEN, NEWEST, FEATURES)
        self.assertEqual(switches, bytes(SWITCH) + b"\1" + bytes(255 - SWITCH))


if __name__ == "__main__":
    unittest.main(verbosity=2)
