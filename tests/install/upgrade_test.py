"""Upgrade and downgrade: from this version to a made-up newer one and back, while a host of each bitness goes
on and settings stay.

usage: upgrade_test.py ROOT WINE64 VERSION PREFIX

ROOT has the builds and the help; PREFIX is made anew.
"""

import os
import shutil
import subprocess
import sys
import tempfile

ROOT, WINE, VERSION, PREFIX = os.path.realpath(sys.argv[1]), sys.argv[2], sys.argv[3], os.path.abspath(sys.argv[4])
sys.path.insert(0, os.path.join(ROOT, "tools/package"))
import files  # noqa: E402
import windows  # noqa: E402

os.environ["BRINDLEX_PREFIX"] = PREFIX
NEWER = VERSION.rpartition(".")[0] + "." + str(int(VERSION.rpartition(".")[2]) + 1)
SYSTEM = {"x86": "C:\\windows\\syswow64\\", "x64": "C:\\windows\\system32\\"}
FOLDER = {"x86": "Program Files (x86)", "x64": "Program Files"}
SETTINGS = os.path.join(PREFIX, "drive_c/ProgramData/Maker/Product/settings.txt")
REFUSED = 1603
UNKNOWN_PRODUCT = 1605


class NewerTree(windows.Tree):
    """The same files and one more, by which the newer version is recognised."""

    def add_common(self, folder: str) -> None:
        super().add_common(folder)
        files.write(os.path.join(folder, "newer.txt"), NEWER)


def run(*command: str, expect: int = 0) -> str:
    result = subprocess.run([WINE, *command], stdout=subprocess.PIPE, timeout=300, check=False)
    text = result.stdout.decode("cp1252").replace("\r", "")
    # Only the low byte of a status comes through to a Unix shell.
    assert result.returncode == expect & 0xFF, f"{command}: {result.returncode}, not {expect}\n{text}"
    return text


def make_packages(folder: str) -> dict[tuple[str, str], str]:
    binaries = os.path.join(folder, "binaries")
    for binary in windows.WINDOWS:
        name, bitness = windows.BINARIES[binary][1], binary.rpartition("-")[2]
        files.copy(windows.built(ROOT, binary), os.path.join(binaries, bitness, name))
    found = {}
    for version, kind in ((VERSION, windows.Tree), (NEWER, NewerTree)):
        tree = kind(ROOT, os.path.join(ROOT, "build/help"), binaries)
        for bitness in windows.BITNESSES:
            windows.make_installer(tree, version, bitness, folder)
            path = os.path.join(folder, f"Brindlex-{version}-{bitness}.msi")
            found[version, bitness] = "Z:" + path.replace("/", "\\")
    return found


def host_works(bitness: str) -> None:
    path = f"C:\\{FOLDER[bitness]}\\Brindlex\\examples\\collection_demo.vbs"
    output = run(SYSTEM[bitness] + "cscript.exe", "//nologo", path)
    assert output.rstrip().endswith("demo: done"), f"the host of {bitness} stopped:\n{output}"


def expect_installed(version: str, bitness: str) -> None:
    folder = os.path.join(PREFIX, "drive_c", FOLDER[bitness], "Brindlex")
    for name in ("Brindlex.dll", "Brindlex.chm"):
        assert os.path.exists(os.path.join(folder, name)), f"{version} {bitness} lacks {name}"
    assert os.path.exists(os.path.join(folder, "newer.txt")) == (version == NEWER), f"not {version}"
    uninstall = "HKLM\\Software\\" + ("Wow6432Node\\" if bitness == "x86" else "")
    listed = run("reg", "query", uninstall + "Microsoft\\Windows\\CurrentVersion\\Uninstall", "/s")
    versions = [line.split()[-1] for line in listed.split("\n") if "DisplayVersion" in line]
    names = [line for line in listed.split("\n") if "DisplayName" in line and "Brindlex" in line]
    assert len(names) == 1 and version in versions, (names, versions)
    with open(SETTINGS, encoding="ascii") as file:
        assert file.read() == "kept", "the settings were touched"


def check_upgrade(packages: dict[tuple[str, str], str], bitness: str, other: str) -> None:
    old, new = packages[VERSION, bitness], packages[NEWER, bitness]
    run("msiexec", "/i", old, "/qn")
    expect_installed(VERSION, bitness)
    for step, package, version in (("upgrade", new, NEWER), ("reinstall", new, NEWER)):
        run("msiexec", "/i", package, "/qn")
        expect_installed(version, bitness)
        for each in (bitness, other):
            host_works(each)
        print(f"{bitness}: {step} to {version}")
    # An old package in a policy takes nobody back by accident ...
    run("msiexec", "/i", old, "/qn", expect=REFUSED)
    expect_installed(NEWER, bitness)
    # ... but who means it removes the newer one first.
    run("msiexec", "/x", new, "/qn")
    host_works(other)
    run("msiexec", "/i", old, "/qn")
    expect_installed(VERSION, bitness)
    for each in (bitness, other):
        host_works(each)
    print(f"{bitness}: refused {VERSION} over {NEWER}, and went back on purpose")


def check_own_folder(package: str) -> None:
    run("msiexec", "/i", package, "/qn", "INSTALLFOLDER=C:\\Own place\\Brindlex")
    assert os.path.exists(os.path.join(PREFIX, "drive_c/Own place/Brindlex/Brindlex.dll"))
    output = run(SYSTEM["x64"] + "cscript.exe", "//nologo", "C:\\Own place\\Brindlex\\examples\\collection_demo.vbs")
    assert output.rstrip().endswith("demo: done"), output
    # Windows knows where it has installed a package; Wine has to hear it again.
    run("msiexec", "/x", package, "/qn", "INSTALLFOLDER=C:\\Own place\\Brindlex")
    left = [name for _, _, names in os.walk(os.path.join(PREFIX, "drive_c/Own place")) for name in names]
    assert not left, left
    print("x64: installed in another folder")


def main() -> None:
    shutil.rmtree(PREFIX, ignore_errors=True)
    run("cmd", "/c", "exit 0")
    files.write(SETTINGS, "kept")
    run("msiexec", "/x", "{00000000-0000-0000-0000-0000000000B1}", "/qn", expect=UNKNOWN_PRODUCT)
    with tempfile.TemporaryDirectory() as folder:
        packages = make_packages(folder)
        check_own_folder(packages[VERSION, "x64"])
        for bitness, other in (("x64", "x86"), ("x86", "x64")):
            run("msiexec", "/i", packages[VERSION, other], "/qn")
            check_upgrade(packages, bitness, other)
            for each in (bitness, other):
                run("msiexec", "/x", packages[VERSION, each], "/qn")
    with open(SETTINGS, encoding="ascii") as file:
        assert file.read() == "kept", "uninstalling touched the settings"


main()
