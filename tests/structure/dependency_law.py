# SPDX-License-Identifier: BSD-2-Clause
"""Reads every #include of the tree and fails on one that the dependency law forbids."""
import pathlib
import re
import sys

PUBLIC = {"tvk.h", "tvk_source.h"}
LIBRARY = ("core", "input", "syntax", "pipeline", "mpeg12", "output")

# Folder -> what its files may include of this project, as prefixes of paths. Order of the library's folders follows
# the data; they share the stream record, so that only the leaves are held apart by name.
ALLOWED = {
    "tools": ("tools/", *PUBLIC),
    "sources": ("sources/", *PUBLIC),
    "examples": ("examples/", *PUBLIC),
    "include": tuple(PUBLIC),
    "output": ("output/", "core/lanes", "core/memory.h", "core/aan_scale.h", "core/calls.h", "pipeline/frame.h", "tvk.h"),
}
# What lies further up the flow. The sources of core alone look upwards: exported calls, life cycle, chosen functions.
FORBIDDEN = {
    "input": ("syntax/", "mpeg12/", "pipeline/", "output/"),
    "syntax": ("mpeg12/", "pipeline/", "output/"),
    "mpeg12": ("syntax/", "pipeline/", "output/"),
    "mpeg12/p4idct": ("input/",),
    "pipeline": ("output/",),
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def project_path(root, file, name):
    """The project's path of what `name` includes, or None for something outside the project."""
    for candidate in (file.parent / name, root / name, root / "include" / name):
        if candidate.exists():
            path = candidate.resolve().relative_to(root).as_posix()
            return path[len("include/"):] if path.startswith("include/") else path
    return None


def faults(root):
    for file in sorted(root.rglob("*")):
        path = file.relative_to(root).as_posix()
        if file.suffix not in (".h", ".cpp", ".c") or path.startswith(("build", ".")):
            continue
        folder = path.split("/")[0]
        for name in INCLUDE.findall(file.read_text(encoding="utf-8")):
            target = project_path(root, file, name)
            if target is None and folder not in (*LIBRARY, *ALLOWED):
                continue  # tests and benchmarks may add search paths; no law binds what they see
            if target is None:
                yield f'{path}: "{name}" is no file of the project'
                continue
            if folder in ALLOWED and not target.startswith(ALLOWED[folder]):
                yield f"{path}: {folder} may not include {target}"
            for home, banned in FORBIDDEN.items():
                if path.startswith(home + "/") and target.startswith(banned):
                    yield f"{path}: {home} may not include {target}"
            if folder in LIBRARY and target.split("/")[0] not in (*LIBRARY, *PUBLIC):
                yield f"{path}: the library may not include {target}"
            if folder in LIBRARY and target == "tvk_source.h":
                yield f"{path}: the library knows no file source"


def main():
    found = list(faults(pathlib.Path(sys.argv[1]).resolve()))
    print("\n".join(found) or "every include obeys the law")
    sys.exit(bool(found))


main()
