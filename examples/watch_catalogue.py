# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Says when the catalogue changes, beside whatever else an event loop does.

    watch_catalogue.py [COUNT]    ends after COUNT changes
"""
import asyncio
import sys

import quor


async def main(count: int) -> None:
    with quor.Catalogue().watch() as watch:
        print("watching", flush=True)
        async for change in watch:
            print("policies changed" if change.policies else "datastores changed", flush=True)
            count -= 1
            if count == 0:
                return


if __name__ == "__main__":
    asyncio.run(main(int(sys.argv[1]) if len(sys.argv) > 1 else -1))
