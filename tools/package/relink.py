"""What somebody needs who links the program brindlex with a libcsv of their own: its licence grants that."""

import os
import shutil
import tempfile

import files

# The folder of a system in the archive, the preset, its object files' ending, its compiler.
SYSTEMS = (
    ("linux", "release", "o", "g++ -static-libgcc -static-libstdc++", "gcc"),
    ("x86", "win32", "obj", "i686-w64-mingw32-g++-posix -municode -static -Wl,--no-insert-timestamp",
     "i686-w64-mingw32-gcc-posix"),
    ("x64", "win64", "obj", "x86_64-w64-mingw32-g++-posix -municode -static -Wl,--no-insert-timestamp",
     "x86_64-w64-mingw32-gcc-posix"),
)
SOURCES = ("libcsv.c", "csv.h", "COPYING.LESSER", "README", "ChangeLog")
README = """Linking brindlex with another libcsv

brindlex {version} contains libcsv, which is under the GNU Lesser General Public License, version 2.1 or later.
This archive lets you replace it: it has the sources of libcsv as they were compiled, and the rest of brindlex
as object files for each system. You may change libcsv for your own use, and take the program apart to find
faults in such changes.

    1. Change the files in the folder libcsv.
    2. On Debian 12, install the compiler of your system: g++ for Linux, g++-mingw-w64-i686-posix for 32-bit
       Windows, g++-mingw-w64-x86-64-posix for 64-bit Windows.
    3. Run   sh relink.sh linux   or   sh relink.sh x86   or   sh relink.sh x64
       The program is then in the folder of that system.
"""
SCRIPT = """#!/bin/sh
# relink.sh linux|x86|x64: compiles libcsv and links brindlex with it.
set -eu
cd "$(dirname "$0")"
case ${1:-} in
@CASES@
  *) echo "usage: sh relink.sh linux|x86|x64" >&2; exit 2 ;;
esac
$cc -O2 -Ilibcsv -c libcsv/libcsv.c -o "$1/libcsv.o"
$cxx -s "$1/main.o" "$1/libbrindlex_cli.a" "$1/libbrindlex_core.a" "$1/libcsv.o" $libraries -o "$1/$program"
echo "made $1/$program"
"""


def script() -> str:
    cases = []
    for system, _, _, cxx, cc in SYSTEMS:
        program = "brindlex" if system == "linux" else "brindlex.exe"
        libraries = "" if system == "linux" else "-lole32 -loleaut32 -luuid -ladvapi32"
        cases.append(f"  {system}) cxx='{cxx}' cc={cc} program={program} libraries='{libraries}' ;;")
    return SCRIPT.replace("@CASES@", "\n".join(cases))


def make(root: str, version: str, output: str) -> None:
    name = f"brindlex-{version}-relink"
    with tempfile.TemporaryDirectory() as folder:
        for source in SOURCES:
            files.copy(os.path.join(root, "build/tools/libcsv", source), os.path.join(folder, "libcsv", source))
        for system, preset, ending, _, _ in SYSTEMS:
            build, target = os.path.join(root, "build", preset), os.path.join(folder, system)
            files.copy(os.path.join(build, f"cli/CMakeFiles/brindlex.dir/main.cpp.{ending}"),
                       os.path.join(target, "main.o"))
            for library in ("cli/libbrindlex_cli.a", "libbrindlex_core.a"):
                shutil.copyfile(os.path.join(build, library), os.path.join(target, os.path.basename(library)))
        files.write(os.path.join(folder, "README.txt"), README.format(version=version))
        files.write(os.path.join(folder, "relink.sh"), script(), 0o755)
        files.make_tarball(folder, name, os.path.join(output, name + ".tar.gz"))
