"""Makes what users download, of both built widths: a zip and a Windows Installer package for each.

usage: package.py ROOT VERSION OUTPUT_FOLDER

Equal sources make equal files, to the byte.
"""

import hashlib
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import uuid
import zipfile

BUILDS = {"x86": "win32", "x64": "win64"}
# 1 January 2020, for everything that has to carry a time. A file in a cabinet cannot be older than 1980.
MADE = 1577836800
MADE_AS_FILETIME = (MADE + 11644473600) * 10_000_000
SUMMARY_ID = uuid.UUID("F29F85E0-4FF9-1068-AB91-08002B27B3D9").bytes_le
REVISION, CREATED, SAVED = 9, 12, 13


def copy(source: str, target: str) -> None:
    os.makedirs(os.path.dirname(target), exist_ok=True)
    shutil.copyfile(source, target)


def copy_generated(root: str, source: str, target: str) -> None:
    """Without the place of the tree, which widl writes into what it makes."""
    os.makedirs(os.path.dirname(target), exist_ok=True)
    with open(source, "rb") as file:
        content = file.read().replace(os.fsencode(root + os.sep), b"")
    with open(target, "wb") as file:
        file.write(content)


def add_width(root: str, width: str, folder: str) -> None:
    build = os.path.join(root, "build", BUILDS[width])
    for name in ("Brindlex.dll", "brindlex.exe"):
        copy(os.path.join(build, name), os.path.join(folder, name))
    manifest = os.path.join(build, "server/generated/Brindlex.manifest")
    copy(manifest, os.path.join(folder, "Brindlex.manifest"))


def add_common(root: str, folder: str) -> None:
    """What is the same for both widths."""
    generated = os.path.join(root, "build/win32/server/generated")
    copy(os.path.join(generated, "Brindlex.tlb"), os.path.join(folder, "Brindlex.tlb"))
    for made in ("server/Brindlex.h", "Brindlex_i.c"):
        include = os.path.join(folder, "include", os.path.basename(made))
        copy_generated(root, os.path.join(generated, made), include)
    copy(os.path.join(root, "README.md"), os.path.join(folder, "README.md"))
    for name in ("docs", "examples"):
        shutil.copytree(os.path.join(root, name), os.path.join(folder, name))


def files_of(folder: str) -> list[str]:
    found = [
        os.path.relpath(os.path.join(path, name), folder)
        for path, _, names in os.walk(folder) for name in names
    ]
    return sorted(found)


def add_sums(folder: str) -> None:
    lines = []
    for name in files_of(folder):
        with open(os.path.join(folder, name), "rb") as file:
            lines.append(f"{hashlib.sha256(file.read()).hexdigest()}  {name}\n")
    with open(os.path.join(folder, "SHA256SUMS"), "w", encoding="utf-8", newline="\n") as file:
        file.writelines(lines)


def make_zip(root: str, version: str, output: str) -> str:
    path = os.path.join(output, f"Brindlex-{version}.zip")
    with tempfile.TemporaryDirectory() as folder:
        add_common(root, folder)
        for width in BUILDS:
            add_width(root, width, os.path.join(folder, width))
        add_sums(folder)
        with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
            for name in files_of(folder):
                entry = zipfile.ZipInfo(f"Brindlex-{version}/{name}", (2020, 1, 1, 0, 0, 0))
                entry.compress_type = zipfile.ZIP_DEFLATED
                entry.external_attr = 0o644 << 16
                with open(os.path.join(folder, name), "rb") as file:
                    archive.writestr(entry, file.read())
    return path


def settle_summary(path: str) -> None:
    """Puts a fixed time, and an id that follows from the content, into an installer's summary."""
    with open(path, "rb") as file:
        content = bytearray(file.read())
    assert content.count(SUMMARY_ID) == 1, "one summary"
    place = content.index(SUMMARY_ID)
    # The id stands 28 bytes behind the start of its stream; the section's offset follows it.
    section = place - 28 + struct.unpack_from("<I", content, place + 16)[0]
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


def make_installer(root: str, version: str, width: str, output: str) -> str:
    path = os.path.join(output, f"Brindlex-{version}-{width}.msi")
    with tempfile.TemporaryDirectory() as work:
        folder, description = os.path.join(work, "tree"), os.path.join(work, "installer.wxs")
        add_common(root, folder)
        add_width(root, width, folder)
        for name in files_of(folder):
            os.utime(os.path.join(folder, name), (MADE, MADE))
        idl = os.path.join(root, "server/Brindlex.idl")
        maker = [sys.executable, "-B", os.path.join(root, "tools/generate/make_installer.py")]
        subprocess.run([*maker, idl, version, width, folder, description], check=True)
        environment = dict(os.environ, TZ="UTC")
        subprocess.run(
            ["wixl", "-a", width, "-o", path, description], cwd=folder, env=environment, check=True
        )
    # wixl writes HKMU as a number of its own.
    machine_or_user = "UPDATE `Registry` SET `Root` = -1 WHERE `Root` = 4"
    subprocess.run(["msibuild", path, "-q", machine_or_user], check=True)
    settle_summary(path)
    return path


def main(root: str, version: str, output: str) -> None:
    output = os.path.abspath(output)
    os.makedirs(output, exist_ok=True)
    made = [make_zip(root, version, output)]
    made += [make_installer(root, version, width, output) for width in BUILDS]
    print("\n".join(made))


main(*sys.argv[1:])
