"""The packages for Windows: a zip with both bitnesses, and an installer for each."""

import hashlib
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import uuid

import files
from notices import notices
from parts import BINARIES, WINDOWS
from sign import sign

BITNESSES = ("x86", "x64")
VERIFY_SCRIPTS = ("verify.cmd", "verify.js")
VERIFY_PROGRAMS = ("interface.exe", "digest.exe", "killed_save.exe")
MADE_AS_FILETIME = (files.MADE + 11644473600) * 10_000_000
SUMMARY_ID = uuid.UUID("F29F85E0-4FF9-1068-AB91-08002B27B3D9").bytes_le
REVISION, CREATED, SAVED = 9, 12, 13


def copy_generated(root: str, source: str, target: str) -> None:
    """Without the place of the tree, which widl writes into what it makes."""
    with open(source, "rb") as file:
        files.write(target, file.read().replace(os.fsencode(root + os.sep), b""))


def binaries_of(bitness: str) -> list[str]:
    return [name for name in WINDOWS if name.endswith(bitness)]


def built(root: str, binary: str) -> str:
    preset, name = BINARIES[binary]
    return os.path.join(root, "build", preset, name)


class Tree:
    """What goes into the packages: the same files for both bitnesses, and those of each. `help_folder` has
    the documentation as HTML and as one file for Windows' own help; `binaries` has a folder for each bitness."""

    def __init__(self, root: str, help_folder: str, binaries: str) -> None:
        self.root, self.help_folder, self.binaries = root, help_folder, binaries

    def add_bitness(self, bitness: str, folder: str) -> None:
        for binary in binaries_of(bitness):
            name = BINARIES[binary][1]
            files.copy(os.path.join(self.binaries, bitness, name), os.path.join(folder, name))
        manifest = os.path.join(self.root, "build", BINARIES[f"component-{bitness}"][0],
                                "server/generated/Brindlex.manifest")
        files.copy(manifest, os.path.join(folder, "Brindlex.manifest"))

    def add_help(self, folder: str) -> None:
        """Beside the DLL, where its type library says that the help is."""
        files.copy(os.path.join(self.help_folder, "Brindlex.chm"), os.path.join(folder, "Brindlex.chm"))

    def add_verify(self, folder: str) -> None:
        """The check on a real Windows: its scripts, and its test programs in a folder beside each DLL."""
        for name in VERIFY_SCRIPTS:
            files.copy(os.path.join(self.root, "verify", name), os.path.join(folder, "verify", name))
        for bitness in BITNESSES:
            build = os.path.join(self.root, "build", BINARIES[f"component-{bitness}"][0], "verify")
            for name in VERIFY_PROGRAMS:
                files.copy(os.path.join(build, name), os.path.join(folder, bitness, "verify", name))

    def add_common(self, folder: str) -> None:
        generated = os.path.join(self.root, "build/win32/server/generated")
        files.copy(os.path.join(generated, "Brindlex.tlb"), os.path.join(folder, "Brindlex.tlb"))
        for made in ("server/Brindlex.h", "Brindlex_i.c"):
            include = os.path.join(folder, "include", os.path.basename(made))
            copy_generated(self.root, os.path.join(generated, made), include)
        for name in ("README.md", "CHANGELOG.md", "SECURITY.md"):
            files.copy(os.path.join(self.root, name), os.path.join(folder, name))
        for name in ("docs", "examples"):
            shutil.copytree(os.path.join(self.root, name), os.path.join(folder, name))
        files.write(os.path.join(folder, "THIRD-PARTY-NOTICES.txt"), notices(self.root, set(WINDOWS)))
        shutil.copytree(os.path.join(self.help_folder, "html"), os.path.join(folder, "docs/html"))


def make_zip(tree: Tree, version: str, output: str) -> None:
    name = f"Brindlex-{version}"
    with tempfile.TemporaryDirectory() as folder:
        tree.add_common(folder)
        for bitness in BITNESSES:
            tree.add_bitness(bitness, os.path.join(folder, bitness))
            tree.add_help(os.path.join(folder, bitness))
        tree.add_verify(folder)
        files.write(os.path.join(folder, "SHA256SUMS"), files.sums(folder))
        files.make_zip(folder, name, os.path.join(output, name + ".zip"))


def settle_summary(path: str) -> None:
    """Puts a fixed time, and an id that follows from the content, into an installer's summary."""
    with open(path, "rb") as file:
        content = bytearray(file.read())
    assert content.count(SUMMARY_ID) == 1, "one summary"
    offset = content.index(SUMMARY_ID)
    # The id is 28 bytes after the start of its stream; the section's offset follows it.
    section = offset - 28 + struct.unpack_from("<I", content, offset + 16)[0]
    count = struct.unpack_from("<I", content, section + 4)[0]
    offsets = dict(struct.unpack_from("<II", content, section + 8 + 8 * i) for i in range(count))
    for property_id in (CREATED, SAVED):
        assert struct.unpack_from("<I", content, section + offsets[property_id])[0] == 0x40
        struct.pack_into("<Q", content, section + offsets[property_id] + 4, MADE_AS_FILETIME)
    kind, length = struct.unpack_from("<II", content, section + offsets[REVISION])
    assert (kind, length) == (0x1E, 39), "an id as text"
    text = section + offsets[REVISION] + 8
    content[text : text + 38] = bytes(38)
    digest = uuid.UUID(bytes=hashlib.sha256(content).digest()[:16], version=4)
    content[text : text + 38] = f"{{{str(digest).upper()}}}".encode("ascii")
    with open(path, "wb") as file:
        file.write(content)


def make_installer(tree: Tree, version: str, bitness: str, output: str) -> None:
    path = os.path.join(output, f"Brindlex-{version}-{bitness}.msi")
    with tempfile.TemporaryDirectory() as work:
        folder, description = os.path.join(work, "tree"), os.path.join(work, "installer.wxs")
        tree.add_common(folder)
        tree.add_bitness(bitness, folder)
        tree.add_help(folder)
        for name in files.files_of(folder):
            os.utime(os.path.join(folder, name), (files.MADE, files.MADE))
        idl = os.path.join(tree.root, "server/Brindlex.idl")
        maker = [sys.executable, "-B", os.path.join(tree.root, "tools/generate/make_installer.py")]
        subprocess.run([*maker, idl, version, bitness, folder, description], check=True)
        environment = dict(os.environ, TZ="UTC")
        subprocess.run(
            ["wixl", "-a", bitness, "-o", path, description], cwd=folder, env=environment, check=True
        )
    # wixl writes HKMU as a number of its own.
    machine_or_user = "UPDATE `Registry` SET `Root` = -1 WHERE `Root` = 4"
    subprocess.run(["msibuild", path, "-q", machine_or_user], check=True)
    settle_summary(path)
    sign(path)


def make(root: str, version: str, help_folder: str, output: str) -> dict[str, str]:
    """The zip and the installers. Returns the signed binaries by their names in parts.BINARIES: they are in
    `output`, in a folder that the caller removes."""
    binaries = os.path.join(output, ".binaries")
    found = {}
    for binary in WINDOWS:
        name, bitness = BINARIES[binary][1], binary.rpartition("-")[2]
        found[binary] = os.path.join(binaries, bitness, name)
        files.copy(built(root, binary), found[binary])
        sign(found[binary])
    tree = Tree(root, help_folder, binaries)
    make_zip(tree, version, output)
    for bitness in BITNESSES:
        make_installer(tree, version, bitness, output)
    return found
