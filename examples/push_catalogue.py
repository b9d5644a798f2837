# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Replaces the host's catalogue by a small one."""
import quor

catalogue = quor.Catalogue()
catalogue.replace_policies([
    quor.Policy("gold-01", "Gold", "Three copies", generation=1, blobs=(
        quor.Blob("SHRF", b'<rules copies="3"/>'), quor.Blob("VOLB", b"VOLB\0\1\2"))),
    quor.Policy("silver-01", "Silver", blobs=(quor.Blob("SHRF", b'<rules copies="2"/>'),)),
])
catalogue.replace_datastores([
    quor.Datastore("ds:///shares/mail/", "SHRF", "gold-01"),
    quor.Datastore("ds:///volumes/a1/", "VOLB", "gold-01"),
])
print(f"pushed {len(catalogue.policies)} policies and {len(catalogue.datastores)} datastores")
