#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Writes catalogue.json, the example catalogue:  ./make_catalogue.py > catalogue.json

The same output on every run. Each policy has a blob for the namespace RILK and for one to three
storage namespaces: VOLB (block volumes), SHRF (file shares) and OBJS (object buckets).
"""
import base64
import hashlib
import json
import struct
import sys
import zlib

# name, identifier, generation, description, copies, sites, limit of operations per second, days to
# keep, kinds of blob by namespace
POLICIES = [
    ("Gold", "gold-01", 41, "Three copies on flash, two sites", 3, 2, 50000, 30,
     {"RILK": "xml", "VOLB": "extents", "SHRF": "ini"}),
    ("Silver", "silver-01", 38, "Two copies, flash in front of disks", 2, 1, 12000, 30,
     {"RILK": "xml", "VOLB": "extents", "SHRF": "ini", "OBJS": "json"}),
    ("Bronze", "bronze-01", 35, "Coded 6+2 on disks", 1, 1, 2500, 14,
     {"RILK": "xml", "VOLB": "coding"}),
    ("Scratch", "scratch-01", 7, "One copy, nothing kept", 1, 1, 80000, 1,
     {"RILK": "records", "VOLB": "extents"}),
    ("Database logs", "dblog-02", 112, "Small synchronous writes, three copies", 3, 1, 64000, 7,
     {"RILK": "xml", "VOLB": "extents"}),
    ("Database tables", "dbtab-02", 109, "Snapshots every hour, two copies", 2, 2, 40000, 35,
     {"RILK": "xml", "VOLB": "extents", "SHRF": "windows"}),
    ("Virtual desktops", "desk-01", 64, "Deduplicated, read cache on every host", 2, 1, 20000, 10,
     {"RILK": "records", "VOLB": "extents", "SHRF": "ini"}),
    ("Mail stores", "mail-03", 23, "Two copies, kept as the mail rules want it", 2, 2, 9000, 365,
     {"RILK": "xml", "SHRF": "ini", "OBJS": "json"}),
    ("Archive, seven years", "arch-07", 1718021456123,
     "Coded 10+4, cannot be changed before its end", 1, 3, 300, 2557,
     {"RILK": "rules", "OBJS": "json", "VOLB": "coding"}),
    ("Backup target", "backup-01", 19, "Sequential writes, coded 8+2", 1, 1, 1500, 90,
     {"RILK": "rules", "SHRF": "windows", "OBJS": "coding"}),
    ("Stretched cluster", "stretch-02", 88, "A full copy at each of two sites", 4, 2, 30000, 30,
     {"RILK": "xml", "VOLB": "extents", "SHRF": "ini"}),
    ("Encrypted at rest", "crypt-01", 52, "Keys from the host's key service, two copies", 2, 1,
     18000, 60, {"RILK": "records", "VOLB": "extents", "OBJS": "json"}),
    ("Media streaming", "media-01", 15, "Large reads, bandwidth before latency", 2, 1, 4000, 180,
     {"RILK": "rules", "SHRF": "ini", "OBJS": "coding"}),
    ("Analytics", "lake-04", 203, "Wide stripes over all disks", 2, 1, 25000, 45,
     {"RILK": "xml", "OBJS": "json", "SHRF": "windows"}),
    ("Build caches", "build-01", 4, "Nothing is lost that cannot be made again", 1, 1, 70000, 2,
     {"RILK": "records", "SHRF": "ini"}),
    ("Messdaten Prüfstände", "labor-01", 11, "Zwei Kopien, eine davon in Halle 3", 2, 2, 6000, 3650,
     {"RILK": "rules", "VOLB": "coding", "SHRF": "ini", "OBJS": "json"}),
]

# path under ds:///, namespace, default policy
DATASTORES = [
    ("volumes/5c0e7a31-8f2d0b44/", "VOLB", "gold-01"),
    ("volumes/5c0e7a31-90b1c6e2/", "VOLB", "gold-01"),
    ("volumes/5c0e7b02-1de4a870/", "VOLB", "silver-01"),
    ("volumes/5c0e7b02-34c9f015/", "VOLB", "silver-01"),
    ("volumes/5c1180d6-aa03e7b9/", "VOLB", "bronze-01"),
    ("volumes/5c1180d6-b7725f1c/", "VOLB", "dblog-02"),
    ("volumes/5c1180d6-c2e80a43/", "VOLB", "dbtab-02"),
    ("volumes/5c2294f0-0b5d6e18/", "VOLB", "desk-01"),
    ("volumes/5c2294f0-17fa92cd/", "VOLB", "crypt-01"),
    ("volumes/5c2294f0-2c3381e7/", "VOLB", "stretch-02"),
    ("volumes/5c2294f0-4d90be56/", "VOLB", "scratch-01"),
    ("shares/home-a/", "SHRF", "silver-01"),
    ("shares/home-b/", "SHRF", "silver-01"),
    ("shares/mail/", "SHRF", "mail-03"),
    ("shares/builds/", "SHRF", "build-01"),
    ("shares/pr%C3%BCfstand-3/", "SHRF", "labor-01"),
    ("buckets/archive-2031/", "OBJS", "arch-07"),
    ("buckets/streams/", "OBJS", "media-01"),
    # The default policy of these two has no blob for their namespace.
    ("buckets/desktop-images/", "OBJS", "desk-01"),
    ("volumes/5c33a1e8-6e04d7f2/", "VOLB", "lake-04"),
]


class Policy:
    def __init__(self, row):
        (self.name, self.id, self.generation, self.description, self.copies, self.sites,
         self.operations, self.days, self.kinds) = row

    def number(self, purpose, limit):
        """A number below the limit that looks arbitrary and is the same on every run."""
        digest = hashlib.sha256(f"{self.id}/{purpose}".encode()).digest()
        return int.from_bytes(digest[:8], "big") % limit


def sealed(body):
    return body + struct.pack("<I", zlib.crc32(body))


def xml_rules(policy, namespace):
    """Placement and service rules."""
    lines = ['<?xml version="1.0" encoding="UTF-8"?>',
             f'<rules namespace="{namespace}" policy="{policy.id}" version="2">',
             f'  <placement copies="{policy.copies}" sites="{policy.sites}">']
    for site in range(policy.sites):
        rack = policy.number(f"rack{site}", 40)
        lines.append(f'    <site name="hall-{site + 1}" rack="r{rack:02d}" required="true"/>')
    lines += ['  </placement>',
              f'  <service operations="{policy.operations}" burst="{policy.operations * 3 // 2}"/>',
              f'  <snapshots keep="{policy.days}d">',
              '    <every interval="1h" keep="24"/>',
              '    <every interval="1d" keep="7"/>',
              '  </snapshots>',
              '</rules>']
    return "\n".join(lines) + "\n"


def ini_rules(policy, namespace):
    """Settings of a file service."""
    return "\n".join([
        f"; {namespace} settings of {policy.id}",
        "[access]",
        "protocols = posix, web",
        f"max-open-files = {1000 + policy.number('files', 9000)}",
        f"read-ahead-kib = {64 << policy.number('ahead', 4)}",
        "",
        "[quota]",
        f"soft-gib = {100 + policy.number('soft', 900)}",
        f"hard-gib = {1000 + policy.number('hard', 900)}",
        f"grace-days = {1 + policy.days % 14}",
        "",
        "[protection]",
        f"copies = {policy.copies}",
        f"keep-deleted-days = {policy.days}",
    ]) + "\n"


def json_rules(policy, namespace):
    """Life-cycle rules of objects."""
    rules = {
        "namespace": namespace,
        "durability": {"copies": policy.copies, "sites": policy.sites},
        "transitions": [
            {"afterDays": max(1, policy.days // 4), "to": "warm"},
            {"afterDays": max(2, policy.days // 2), "to": "cold", "minimumBytes": 131072},
        ],
        "expireAfterDays": policy.days,
        "lock": {"mode": "compliance" if policy.days > 365 else "none"},
        "tags": [policy.id.split("-")[0], f"gen-{policy.generation}"],
    }
    return json.dumps(rules, indent=1)


def expression_rules(policy, namespace):
    """Conditions, the first that holds decides."""
    rate = policy.operations
    return "\n".join([
        f"# {policy.id}: where a new extent of {namespace} goes",
        "when pool.free < 5%            reject \"pool is full\"",
        f"when pool.latency_ms > {5 + policy.number('latency', 40):<7}    avoid  weight=10",
        f"when io.rate > {rate:<10}         limit  rate={rate} burst={rate * 2}",
        f"when age.days > {policy.days:<9}         move   tier=cold copies=1",
        f"otherwise                      place  copies={policy.copies} sites={policy.sites}",
    ]) + "\n"


def extent_table(policy, namespace):
    """Where the extents of new volumes go: header, 24-byte entries, checksum."""
    count = 12 + policy.number(namespace, 40)
    body = struct.pack("<4sHHIQ", b"EXT1", 1, count, policy.copies, policy.generation)
    start = 0
    for index in range(count):
        length = 2048 << policy.number(f"length{index}", 6)
        pool = policy.number(f"pool{index}", 16)
        weight = 1 + policy.number(f"weight{index}", 255)
        body += struct.pack("<QQHHI", start, length, pool, weight, 0xFFFFFFFF)
        start += length
    return sealed(body)


def coding_matrix(policy, namespace):
    """A Cauchy matrix over GF(256) for data and parity shards, checksum."""
    data, parity = {"bronze-01": (6, 2), "arch-07": (10, 4)}.get(policy.id, (8, 2))

    def multiply(a, b):
        product = 0
        while b:
            if b & 1:
                product ^= a
            a = (a << 1) ^ (0x11D if a & 0x80 else 0)
            b >>= 1
        return product

    def inverse(a):
        return next(b for b in range(1, 256) if multiply(a, b) == 1)

    rows = bytes(inverse((data + row) ^ column) for row in range(parity) for column in range(data))
    table = bytes(multiply(factor, value) for factor in rows[:parity] for value in range(256))
    head = struct.pack(">4s4sBBHI", b"CODE", namespace.encode(), data, parity, 0x11D, 1 << 20)
    return sealed(head + rows + table)


def tagged_records(policy, namespace):
    """Tag, length, value; numbers as variable-length integers."""
    def varint(value):
        out = bytearray()
        while value > 0x7F:
            out.append(value & 0x7F | 0x80)
            value >>= 7
        out.append(value)
        return bytes(out)

    def record(tag, value):
        return varint(tag) + varint(len(value)) + value

    limits = b"".join(record(3, varint(hour) + varint(policy.operations * (1 + hour % 3) // 2))
                      for hour in range(24))
    key = hashlib.sha256(f"{policy.id} key".encode()).digest()
    return (record(1, namespace.encode()) + record(2, policy.id.encode()) + record(4, limits) +
            record(5, varint(policy.copies) + varint(policy.sites)) + record(6, key) +
            record(15, b""))


def maintenance_windows(policy, namespace):
    """For each site a bit for every hour of the week in which background work may run."""
    body = struct.pack("<4sBBH", b"WEEK", 1, policy.sites, 168)
    for site in range(policy.sites):
        bits = 0
        for hour in range(168):
            night = hour % 24 < 6 - site or hour % 24 >= 22
            weekend = hour // 24 >= 5
            bits |= (night or weekend) << hour
        body += struct.pack("<16s21s3x", f"hall-{site + 1}".encode(), bits.to_bytes(21, "little"))
    body += struct.pack("<QQdd", policy.operations, policy.operations * 2, 0.25, 0.75)
    return sealed(body)


TEXT_KINDS = {"xml": xml_rules, "ini": ini_rules, "json": json_rules, "rules": expression_rules}
BINARY_KINDS = {"extents": extent_table, "coding": coding_matrix, "records": tagged_records,
                "windows": maintenance_windows}


def blob_entry(policy, namespace, kind):
    if kind in TEXT_KINDS:
        return {"namespace": namespace, "text": TEXT_KINDS[kind](policy, namespace)}
    blob = BINARY_KINDS[kind](policy, namespace)
    return {"namespace": namespace, "base64": base64.b64encode(blob).decode()}


def catalogue():
    policies = []
    for policy in map(Policy, POLICIES):
        blobs = [blob_entry(policy, namespace, kind) for namespace, kind in policy.kinds.items()]
        policies.append({"id": policy.id, "name": policy.name, "description": policy.description,
                         "generation": policy.generation, "blobs": blobs})
    datastores = [{"url": "ds:///" + path, "namespace": namespace, "defaultPolicy": default}
                  for path, namespace, default in DATASTORES]
    return {"format": "quor-catalogue/1", "policies": policies, "datastores": datastores}


if __name__ == "__main__":
    json.dump(catalogue(), sys.stdout, indent=2, ensure_ascii=False)
    sys.stdout.write("\n")
