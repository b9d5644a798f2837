# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Prints the blob that applies to a datastore.

    look_up_blob.py DATASTORE-URL [POLICY-ID]

Ends with 1 when there is none, and with 2 when the store failed.
"""
import sys

import quor


def main(url: str, policy_id: str = "") -> int:
    catalogue = quor.Catalogue()
    try:
        blob = (catalogue.blob(policy_id=policy_id, datastore=url) if policy_id
                else catalogue.default_blob(url))
    except quor.Error as error:
        print(f"look_up_blob.py: {error}", file=sys.stderr)
        return 2
    sys.stdout.buffer.write(blob)
    return 0 if blob else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
