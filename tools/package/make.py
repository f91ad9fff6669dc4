"""Makes what users download, from the builds of every preset.

usage: make.py ROOT VERSION HELP_FOLDER OUTPUT_FOLDER

HELP_FOLDER is what tools/help/make_help.py made. Equal sources make equal files, to the byte, unless they
are signed (see sign.py).
"""

import os
import shutil
import sys

import files
import linux
import windows
from parts import BINARIES
from sbom import sbom


def main(root: str, version: str, help_folder: str, output: str) -> None:
    root, output = os.path.realpath(root), os.path.abspath(output)
    os.makedirs(output, exist_ok=True)
    shipped = windows.make(root, version, help_folder, output)
    program = linux.make(root, version, os.path.join(help_folder, "html"), output)
    files.write(os.path.join(output, f"Brindlex-{version}.spdx.json"),
                sbom(version, {**shipped, "program-linux": program}))
    assert set(shipped) | {"program-linux"} == set(BINARIES)
    shutil.rmtree(os.path.join(output, ".binaries"))
    files.write(os.path.join(output, "SHA256SUMS"), files.sums(output))
    print("\n".join(os.path.join(output, name) for name in files.files_of(output)))


main(*sys.argv[1:])
