"""What all packages share: copying files, the time that everything carries, archives that equal sources
make equal."""

import gzip
import hashlib
import io
import os
import shutil
import tarfile
import zipfile

# 1 January 2020, for everything that has to carry a time. A file in a cabinet cannot be older than 1980.
MADE = 1577836800


def copy(source: str, target: str) -> None:
    os.makedirs(os.path.dirname(target), exist_ok=True)
    shutil.copyfile(source, target)


def write(path: str, content: bytes | str, mode: int = 0o644) -> None:
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content.encode() if isinstance(content, str) else content)
    os.chmod(path, mode)


def files_of(folder: str) -> list[str]:
    found = [
        os.path.relpath(os.path.join(path, name), folder)
        for path, _, names in os.walk(folder) for name in names
    ]
    return sorted(found)


def compressed(content: bytes) -> bytes:
    """As gzip -9n does it."""
    return gzip.compress(content, 9, mtime=0)


def sums(folder: str) -> str:
    """The lines of SHA256SUMS for every file below a folder."""
    lines = []
    for name in files_of(folder):
        with open(os.path.join(folder, name), "rb") as file:
            lines.append(f"{hashlib.sha256(file.read()).hexdigest()}  {name}\n")
    return "".join(lines)


def make_zip(folder: str, inside: str, path: str) -> None:
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name in files_of(folder):
            entry = zipfile.ZipInfo(f"{inside}/{name}", (2020, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o644 << 16
            with open(os.path.join(folder, name), "rb") as file:
                archive.writestr(entry, file.read())


def make_tarball(folder: str, inside: str, path: str) -> None:
    """A .tar.gz of a folder; files are the root user's, with the modes 755 for programs and 644."""
    buffer = io.BytesIO()
    with tarfile.open(fileobj=buffer, mode="w", format=tarfile.USTAR_FORMAT) as archive:
        for name in files_of(folder):
            source = os.path.join(folder, name)
            entry = tarfile.TarInfo(f"{inside}/{name}")
            entry.size, entry.mtime = os.path.getsize(source), MADE
            entry.mode = 0o755 if os.access(source, os.X_OK) else 0o644
            entry.uname = entry.gname = "root"
            with open(source, "rb") as file:
                archive.addfile(entry, file)
    write(path, compressed(buffer.getvalue()))
