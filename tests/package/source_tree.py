# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""Which files make up the source tree."""
import os

# As in .gitignore, at the root. In a second work tree of a repository .git is a file.
_NOT_SOURCE = {".git", "build", ".cache"}


def files(root, *folders):
    """Paths, relative to `root`, of all files below the folders; of the whole tree without any."""
    for top in folders or ("",):
        for directory, subdirectories, names in os.walk(os.path.join(root, top)):
            if os.path.samefile(directory, root):
                subdirectories[:] = [s for s in subdirectories if s not in _NOT_SOURCE]
                names = [name for name in names if name not in _NOT_SOURCE]
            subdirectories[:] = sorted(s for s in subdirectories if s != "__pycache__")
            for name in sorted(names):
                yield os.path.relpath(os.path.join(directory, name), root)
