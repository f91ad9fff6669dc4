"""The packages for Linux: the .deb is installed into a folder, used and removed; so is the tarball.

usage: linux_test.py PACKAGE_FOLDER VERSION
"""

import os
import subprocess
import sys
import tempfile

FOLDER, VERSION = os.path.abspath(sys.argv[1]), sys.argv[2]
GUIDE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../docs/deployment.md")
FILES = {
    "bin/brindlex", "share/man/man1/brindlex.1.gz", "share/bash-completion/completions/brindlex",
    "share/zsh/vendor-completions/_brindlex", "share/doc/brindlex/copyright", "share/doc/brindlex/changelog.gz",
    "share/doc/brindlex/html/index.html",
}


def output_of(*command: str, **options: object) -> str:
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def files_of(folder: str) -> set[str]:
    return {os.path.relpath(os.path.join(path, name), folder) for path, _, names in os.walk(folder) for name in names}


def guide_line(program: str) -> str:
    """The line of the deployment guide that runs a program."""
    with open(GUIDE, encoding="utf-8") as file:
        return next(line for line in file if line.startswith(program + " "))


def check_program(program: str, manual: str) -> None:
    assert output_of(program, "--version") == f"brindlex {VERSION}\n"
    saved = subprocess.run([program, "from-csv", "-"], input=b"Title,Price\nMoby Dick,12.5\n", check=True,
                           stdout=subprocess.PIPE).stdout
    shown = subprocess.run([program, "to-csv", "-"], input=saved, check=True, stdout=subprocess.PIPE).stdout
    assert shown.split() == b"Title,Price Moby Dick,12.5".split(), shown
    # The manual page as the reader's man formats it.
    page = output_of("man", "--warnings=w", "-P", "cat", "-l", manual, env={**os.environ, "MANWIDTH": "80"})
    assert "brindlex" in page and "salvage" in page


def dpkg(root: str, *arguments: str) -> None:
    subprocess.run(["dpkg", f"--root={root}", "--force-not-root,depends,bad-path", f"--log={root}/log", *arguments],
                   check=True, stdout=subprocess.DEVNULL)


def check_deb() -> None:
    # apt itself would change the machine.
    name = guide_line("apt").split("./")[1].strip()
    assert name == f"brindlex_{VERSION}_amd64.deb", name
    package = os.path.join(FOLDER, name)
    fields = output_of("dpkg-deb", "-f", package)
    for line in ("Package: brindlex", f"Version: {VERSION}", "Architecture: amd64", "Depends: libc6 (>= 2."):
        assert line in fields, fields
    assert "libstdc++" not in fields, "it needs a run time that it contains"
    owners = {line.split()[1] for line in output_of("dpkg-deb", "-c", package).splitlines()}
    assert owners == {"root/root"}, owners
    with tempfile.TemporaryDirectory() as root:
        os.makedirs(os.path.join(root, "var/lib/dpkg/updates"))
        os.makedirs(os.path.join(root, "var/lib/dpkg/info"))
        open(os.path.join(root, "var/lib/dpkg/status"), "w", encoding="ascii").close()
        dpkg(root, "-i", package)
        usr = os.path.join(root, "usr")
        assert FILES <= files_of(usr), FILES - files_of(usr)
        assert "brindlex" not in output_of("dpkg", f"--root={root}", "--verify", "brindlex")
        check_program(os.path.join(usr, "bin/brindlex"), os.path.join(usr, "share/man/man1/brindlex.1.gz"))
        dpkg(root, "-P", "brindlex")
        assert not os.path.exists(usr), files_of(usr)


def check_tarball() -> None:
    with tempfile.TemporaryDirectory() as home:
        prefix = os.path.join(home, ".local")
        os.mkdir(prefix)
        subprocess.run(["bash", "-c", guide_line("tar")], cwd=FOLDER, env={**os.environ, "HOME": home}, check=True)
        check_program(os.path.join(prefix, "bin/brindlex"), os.path.join(prefix, "share/man/man1/brindlex.1"))
        assert "share/zsh/site-functions/_brindlex" in files_of(prefix)


check_deb()
check_tarball()
print("linux: .deb and tarball installed, used and removed")
