"""The packages of the program brindlex for Linux: a .deb and a tarball."""

import hashlib
import os
import re
import shutil
import subprocess
import tempfile

import files
from notices import notices

CONTROL = """Package: brindlex
Version: {version}
Architecture: amd64
Maintainer: The Brindlex developers <brindlex@users.noreply.invalid>
Installed-Size: {size}
Depends: {depends}
Section: utils
Priority: optional
Description: look into, check, convert and repair collections kept as delimited text
 brindlex shows the files that the component Brindlex writes, reports every
 defect in them, saves what can be saved, and converts them to JSON, CSV and
 HTML and back.
"""
COMPLETIONS = {
    "brindlex.bash": "bash-completion/completions/brindlex",
    "_brindlex": "zsh/{zsh}/_brindlex",
}


def stripped(root: str, folder: str) -> str:
    """A copy of the built program without symbols."""
    path = os.path.join(folder, "brindlex")
    os.makedirs(folder, exist_ok=True)
    subprocess.run(["strip", "-o", path, os.path.join(root, "build/release/brindlex")], check=True)
    return path


def lay_out(root: str, program: str, help_folder: str, prefix: str, zsh: str) -> None:
    """Everything below a prefix such as /usr, with the manual page as it is in the sources."""
    share, documents = os.path.join(prefix, "share"), os.path.join(prefix, "share/doc/brindlex")
    with open(program, "rb") as file:
        files.write(os.path.join(prefix, "bin/brindlex"), file.read(), 0o755)
    files.copy(os.path.join(root, "docs/brindlex.1"), os.path.join(share, "man/man1/brindlex.1"))
    for source, target in COMPLETIONS.items():
        files.copy(os.path.join(root, "cli/completions", source), os.path.join(share, target.format(zsh=zsh)))
    files.write(os.path.join(documents, "THIRD-PARTY-NOTICES.txt"), notices(root, {"program-linux"}))
    files.copy(os.path.join(root, "CHANGELOG.md"), os.path.join(documents, "CHANGELOG.md"))
    shutil.copytree(help_folder, os.path.join(documents, "html"))


def make_tarball(root: str, version: str, program: str, help_folder: str, output: str) -> None:
    name = f"brindlex-{version}-linux-amd64"
    with tempfile.TemporaryDirectory() as folder:
        lay_out(root, program, help_folder, folder, "site-functions")
        files.make_tarball(folder, name, os.path.join(output, name + ".tar.gz"))


def depends(program: str) -> str:
    """The libraries that the program needs, as dpkg-shlibdeps finds them."""
    with tempfile.TemporaryDirectory() as folder:
        control = "Source: brindlex\n\nPackage: brindlex\nArchitecture: amd64\n"
        files.write(os.path.join(folder, "debian/control"), control)
        result = subprocess.run(["dpkg-shlibdeps", "-O", program], cwd=folder, check=True, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return re.search(r"shlibs:Depends=(.*)", result.stdout).group(1)


def settle_for_debian(folder: str) -> None:
    """What Debian's policy asks beyond the tarball's files: compressed pages, a file named copyright."""
    documents = os.path.join(folder, "usr/share/doc/brindlex")
    for path in (os.path.join(folder, "usr/share/man/man1/brindlex.1"), os.path.join(documents, "CHANGELOG.md")):
        with open(path, "rb") as file:
            content = files.compressed(file.read())
        os.remove(path)
        target = os.path.join(documents, "changelog") if path.endswith(".md") else path
        files.write(target + ".gz", content)
    os.rename(os.path.join(documents, "THIRD-PARTY-NOTICES.txt"), os.path.join(documents, "copyright"))


def add_control(folder: str, version: str, program: str) -> None:
    names = files.files_of(folder)
    lines = []
    for name in names:
        with open(os.path.join(folder, name), "rb") as file:
            lines.append(f"{hashlib.md5(file.read(), usedforsecurity=False).hexdigest()}  {name}\n")
    size = sum((os.path.getsize(os.path.join(folder, name)) + 1023) // 1024 for name in names)
    control = CONTROL.format(version=version, size=size, depends=depends(program))
    files.write(os.path.join(folder, "DEBIAN/control"), control)
    files.write(os.path.join(folder, "DEBIAN/md5sums"), "".join(lines))


def make_deb(root: str, version: str, program: str, help_folder: str, output: str) -> None:
    with tempfile.TemporaryDirectory() as work:
        folder = os.path.join(work, "brindlex")
        lay_out(root, program, help_folder, os.path.join(folder, "usr"), "vendor-completions")
        settle_for_debian(folder)
        add_control(folder, version, program)
        for path, folders, _ in os.walk(folder):
            for name in [path, *(os.path.join(path, inner) for inner in folders)]:
                os.chmod(name, 0o755)
        environment = dict(os.environ, SOURCE_DATE_EPOCH=str(files.MADE))
        subprocess.run(["dpkg-deb", "--root-owner-group", "-Zxz", "--build", folder,
                        os.path.join(output, f"brindlex_{version}_amd64.deb")],
                       check=True, env=environment, stdout=subprocess.DEVNULL)


def make(root: str, version: str, help_folder: str, output: str) -> str:
    """Both packages; `help_folder` has the documentation as HTML. Returns the program that they contain: it
    is in `output`, in a folder that the caller removes."""
    program = stripped(root, os.path.join(output, ".binaries"))
    make_tarball(root, version, program, help_folder, output)
    make_deb(root, version, program, help_folder, output)
    return program
