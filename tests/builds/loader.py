# SPDX-License-Identifier: BSD-2-Clause
"""Which build of the library the dynamic loader gives to a program."""
import os
import pathlib
import re
import subprocess

LIBRARY = "libtvk.so.1"
CANNOT_RUN = 77  # ctest's word for a skipped test


def environment_with(folder):
    return dict(os.environ, LD_LIBRARY_PATH=str(folder))


def resolved(program, environment):
    """The files that the loader finds for a program, by their sonames, and the loader itself."""
    listing = subprocess.run([program], env=dict(environment, LD_TRACE_LOADED_OBJECTS="1"), check=True, capture_output=True, text=True)
    found = dict(re.findall(r"^\s*(\S+) => (/\S+)", listing.stdout, re.MULTILINE))
    loaders = re.findall(r"^\s*(/\S*/ld\S*) \(0x", listing.stdout, re.MULTILINE)
    return found, loaders[0] if loaders else None


def levels_searched(loader):
    """The folders of glibc-hwcaps/ that this machine's loader searches; none where it knows nothing of them."""
    text = subprocess.run([loader, "--help"], check=False, capture_output=True, text=True).stdout if loader else ""
    return set(re.findall(r"^\s+(\S+) \(supported, searched\)", text.partition("glibc-hwcaps")[2], re.MULTILINE))


def problem_with(folder, program):
    """None when the program gets the folder's library; else an exit code and why."""
    library = next(pathlib.Path(folder).glob("glibc-hwcaps/*/" + LIBRARY), None) or pathlib.Path(folder, LIBRARY)
    found, loader = resolved(program, environment_with(folder))
    got = pathlib.Path(found[LIBRARY])
    if got.resolve() == library.resolve():
        return None
    level = library.parent.name
    if library.parent.parent.name == "glibc-hwcaps" and level not in levels_searched(loader):
        return CANNOT_RUN, f"skipped: the loader of this machine does not search glibc-hwcaps/{level}"
    return 1, f"the loader takes {got} in place of {library}"
