# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""The wheel: scripts/wheel runs this. It needs libquorc.so.1 where it is used."""
import sysconfig

from setuptools import setup

# One module for all versions, but for those without the global lock, which know no stable interface.
STABLE = not sysconfig.get_config_var("Py_GIL_DISABLED")

setup(
    name="quor",
    packages=["quor"],
    package_data={"quor": ["py.typed"]},
    python_requires=">=3.9",
    install_requires=["cffi>=1.15"],
    setup_requires=[],
    cffi_modules=["native_source.py:builder"],
    options={"bdist_wheel": {"py_limited_api": "cp39"}} if STABLE else {},
    license="Apache-2.0",
    description="The host's catalogue of storage policies and datastores",
)
