# SPDX-License-Identifier: BSD-2-Clause
"""Installs a build into a folder, builds the examples against it as its users do, and runs them."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests/tool"), str(ROOT / "tests/builds")]
from loader import LIBRARY, levels_searched, resolved  # noqa: E402
from support import CLIPS, CLIPS_KNOWN, TOOL, decode, digests  # noqa: E402

EXAMPLES = ("step", "thumbnail", "reverse", "own_buffer")
BUILD, CC, CMAKE = os.environ["TVK_BUILD"], os.environ["CC"], os.environ["CMAKE"]
CLIP = "open_gop.m2v"


def run(*command, code=0, **keywords):
    done = subprocess.run([str(word) for word in command], capture_output=True, check=False, **keywords)
    if done.returncode != code:
        sys.exit(f"{' '.join(map(str, command))}: exit code {done.returncode}\n{done.stdout.decode()}{done.stderr.decode()}")
    return done.stdout


def equal(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}: {found!r} in place of {wanted!r}")


def one(folder, pattern):
    found = sorted(folder.glob(pattern))
    if len(found) != 1:
        sys.exit(f"{len(found)} files {pattern} in {folder}")
    return found[0]


# What the examples have to print.


def check_step(program, clip, known):
    wanted = [f"{words[0]} {words[2]} {known.width} x {known.height}" for words in digests(clip)]
    equal(run(program, clip).decode().splitlines(), wanted, "step")


def check_thumbnail(program, clip, known):
    name, number = clip.parent / "small", 13
    size = f"{known.width // 4} x {known.height // 4}"
    for _ in range(2):  # scanning the file, then reading its index file
        equal(run(program, clip, number, name).decode(), f"frame {number}: {name}.jpg, {size}\n", "thumbnail")
    picture = (clip.parent / "small.jpg").read_bytes()
    at = picture.index(b"\xff\xc0") + 5
    height, width = (int.from_bytes(picture[i : i + 2], "big") for i in (at, at + 2))
    equal(f"{width} x {height}", size, "thumbnail's picture")
    equal(one(clip.parent, "*.vidx").name, clip.name + ".vidx", "index file")
    run(program, clip, known.frames + 1, name, code=1)


def check_reverse(program, clip, known):
    lines = run(program, clip).decode().splitlines()
    found = [tuple(map(int, re.fullmatch(r"frame (\d+), (\d+) decoded ahead", line).groups())) for line in lines]
    equal([number for number, _ in found], list(range(known.frames, 0, -1)), "reverse")
    # The ring is full but at the ends: none behind the first picture shown, as many as there are near frame 1.
    equal([ahead for _, ahead in found], [0] + [min(6, number - 1) for number, _ in found[1:]], "frames decoded ahead")


def check_own_buffer(program, clip, known):
    stride = (known.width + 31) // 32 * 32 * 2
    written = run(program, clip)
    equal(len(written), stride * known.height * known.frames, "bytes of own_buffer")
    for number, picture in enumerate(decode(clip, "--precision", "fast").pictures):
        rows = [written[(number * known.height + y) * stride :][: known.width * 2] for y in range(known.height)]
        equal(b"".join(row[::2] for row in rows) == picture.luma, True, f"luma of frame {number + 1}")
        # The first row of a progressive frame has the first row of chroma.
        equal((rows[0][1::4], rows[0][3::4]), (picture.cb[: known.width // 2], picture.cr[: known.width // 2]), "chroma")


def check_examples(folder):
    known = CLIPS_KNOWN[CLIP]
    with tempfile.TemporaryDirectory() as place:
        clip = pathlib.Path(shutil.copy(CLIPS / CLIP, place))
        for name in EXAMPLES:
            globals()["check_" + name](folder / name, clip, known)
            run(folder / name, code=2)
            run(folder / name, "no/such.m2v", *(["1", "x"] if name == "thumbnail" else []), code=1)


# The tests.


def examplesOfThisBuildRun(_):
    check_examples(pathlib.Path(os.environ["TVK_EXAMPLES"]))


def treeIsInstalled(prefix):
    shutil.rmtree(prefix, ignore_errors=True)
    run(CMAKE, "--install", BUILD, "--prefix", prefix)


def library_folder(prefix):
    return one(prefix, "lib*/**/libtvk.so").parent


def filesStandInGnuDirectories(prefix):
    for path in ("bin/tvk", "include/tvk.h", "include/tvk_source.h", "share/man/man1/tvk.1", "share/man/man3/tvk.3",
                 "share/bash-completion/completions/tvk", "share/zsh/site-functions/_tvk"):
        if not (prefix / path).is_file():
            sys.exit(f"{path} is missing")
    libraries = library_folder(prefix)
    for path in ("pkgconfig/tvk.pc", "pkgconfig/tvk-source.pc", "cmake/tvk/tvk-config.cmake", "cmake/tvk/tvk-config-version.cmake"):
        if not (libraries / path).is_file():
            sys.exit(f"{path} is missing")
    for name in ("libtvk", "libtvk_source"):
        soname = re.search(r"SONAME\s+(\S+)", run("objdump", "-p", libraries / f"{name}.so").decode())[1]
        equal(soname, f"{name}.so.1", "soname")
        versioned = re.search(r"VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8").split("project(")[1])[1]
        equal((libraries / f"{name}.so").resolve().name, f"{name}.so.{versioned}", "file of the library")
        equal((libraries / soname).resolve(), (libraries / f"{name}.so").resolve(), soname)


def commandRunsWhereverTheTreeLies(prefix):
    with tempfile.TemporaryDirectory() as place:
        moved = pathlib.Path(shutil.copytree(prefix, place + "/moved", symlinks=True))
        equal(run(moved / "bin/tvk", "decode", CLIPS / CLIP, "--md5"), run(TOOL, "decode", CLIPS / CLIP, "--md5"), "digests")


def loaderTakesTheBuildForTheMachine(prefix):
    tool, plain = prefix / "bin/tvk", library_folder(prefix) / LIBRARY
    newer = plain.parent / "glibc-hwcaps/x86-64-v3" / LIBRARY
    equal(newer.resolve().name, plain.resolve().name, "file of the library for x86-64-v3")
    here = dict(os.environ, LD_LIBRARY_PATH=str(plain.parent))
    found, loader = resolved(tool, here)
    wanted = newer if "x86-64-v3" in levels_searched(loader) else plain
    equal(pathlib.Path(found[LIBRARY]).resolve(), wanted.resolve(), "library that the loader takes")
    older = dict(here, GLIBC_TUNABLES="glibc.cpu.hwcaps=-AVX2")  # a processor that lacks what the level asks for
    equal(pathlib.Path(resolved(tool, older)[0][LIBRARY]).resolve(), plain.resolve(), "library for an older machine")
    command = tool, "decode", CLIPS / CLIP, "--md5"
    equal(run(*command, env=here), run(*command, env=older), "digests")


def pkgConfigBuildsTheExamples(prefix):
    libraries = library_folder(prefix)
    environment = dict(os.environ, PKG_CONFIG_PATH=str(libraries / "pkgconfig"))
    flags = run("pkg-config", "--cflags", "--libs", "tvk-source", env=environment).decode().split()
    equal(run("pkg-config", "--libs", "tvk", env=environment).decode().split()[-1], "-ltvk", "pkg-config --libs tvk")
    with tempfile.TemporaryDirectory() as place:
        for name in EXAMPLES:
            run(CC, "-std=c99", "-Wall", "-Wextra", "-pedantic", "-Werror", ROOT / f"examples/{name}.c", "-o", f"{place}/{name}", *flags,
                f"-Wl,-rpath,{libraries}")
        check_examples(pathlib.Path(place))


def cmakeBuildsTheExamples(prefix):
    with tempfile.TemporaryDirectory() as place:
        run(CMAKE, "-S", ROOT / "examples", "-B", place, f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_C_COMPILER={CC}")
        run(CMAKE, "--build", place)
        check_examples(pathlib.Path(place))


def cmakeRefusesAnotherMajorVersion(prefix):
    project = "cmake_minimum_required(VERSION 3.25)\nproject(x LANGUAGES C CXX)\nfind_package(tvk {} REQUIRED)\n"
    for version, code in (("1", 0), ("1.2", 0), ("2", 1)):
        with tempfile.TemporaryDirectory() as place:
            pathlib.Path(place, "CMakeLists.txt").write_text(project.format(version), encoding="utf-8")
            run(CMAKE, "-S", place, "-B", place + "/build", f"-DCMAKE_PREFIX_PATH={prefix}", code=code)


globals()[sys.argv[1]](pathlib.Path(sys.argv[2]))
