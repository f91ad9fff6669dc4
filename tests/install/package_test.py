"""The installer packages in a fresh 64-bit Windows: installed in silence, used, taken out again.

usage: package_test.py WINE64 PACKAGE_FOLDER PREFIX

WINE64 is tools/wine64; PREFIX is made anew. The options for all users are those of docs/deployment.md.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

wine, packages, prefix = sys.argv[1], sys.argv[2], os.path.abspath(sys.argv[3])
os.environ["BRINDLEX_PREFIX"] = prefix
SYSTEM = {"x86": "C:\\windows\\syswow64\\", "x64": "C:\\windows\\system32\\"}
FOLDER = {"x86": "Program Files (x86)", "x64": "Program Files"}
GUIDE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "deployment.md"
LOG = "C:\\install.log"
# What would be left of us: the name, or the first part of one of the ids.
OURS = re.compile(r"brindlex|90E89859-3FAC|E67379C4-E3BA|FC246086-1E11", re.IGNORECASE)
IDS = {
    "TypeLib": "{90E89859-3FAC-4C4B-8115-E34F4C404E17}",
    "CLSID": "{03068CE9-1E2B-4905-831C-745F9AC7CA1E}",
    "Interface": "{13BC7B31-B39D-4573-A2C0-506F64504D43}",
}


def run(*command: str, expect: int | None = 0) -> str:
    result = subprocess.run(
        [wine, *command], stdout=subprocess.PIPE, timeout=300, check=False
    )
    text = result.stdout.decode("cp1252").replace("\r", "")
    assert expect is None or result.returncode == expect, f"{command}: {result.returncode}\n{text}"
    return text


def guide_options(command: str) -> list[str]:
    """The options of the first line of the guide that runs msiexec with this command."""
    line = re.search(rf"^msiexec {command} Brindlex-\S+-x64\.msi (.*)$", GUIDE.read_text(encoding="utf-8"), re.MULTILINE)
    assert line and "/qn" in line[1], f"{GUIDE} has no silent msiexec {command}"
    return [LOG if word.endswith(".log") else word for word in line[1].split()]


def windows_path(path: str) -> str:
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def msi(bitness: str) -> str:
    found = [name for name in os.listdir(packages) if name.endswith(f"-{bitness}.msi")]
    assert len(found) == 1, found
    return windows_path(os.path.join(packages, found[0]))


def keys(owner: str, bitness: str) -> set[str]:
    """Some keys of every kind with all below them, as lines."""
    classes = f"{owner}\\Software\\Classes\\"
    roots = ["Brindlex.clsAppFiles", "Brindlex.clsAppFiles.1"]
    roots += [f"{kind}\\{own}" for kind, own in IDS.items()]
    lines: set[str] = set()
    for root in roots:
        key = ""
        for line in run(
            SYSTEM[bitness] + "reg.exe", "query", classes + root, "/s", expect=None
        ).split("\n"):
            if line.startswith("HK"):
                key = line
            elif key and line.strip():
                lines.add(f"{key} {line.strip()}".rstrip("\\"))
    return lines


def files() -> set[str]:
    drive = os.path.join(prefix, "drive_c")
    return {
        os.path.relpath(os.path.join(path, name), drive)
        for path, folders, names in os.walk(drive) for name in names + folders
    }


def left_in_registry() -> list[str]:
    # The server writes the registry down when it ends.
    for option in ("-k", "-w"):
        environment = dict(os.environ, WINEPREFIX=prefix)
        subprocess.run(["wineserver", option], env=environment, timeout=120, check=False)
    found = []
    for name in ("system.reg", "user.reg"):
        with open(os.path.join(prefix, name), encoding="latin-1") as file:
            found += [line for line in file if OURS.search(line)]
    return found


def demo(bitness: str, folder: str) -> None:
    path = f"{folder}\\examples\\collection_demo.vbs"
    output = run(SYSTEM[bitness] + "cscript.exe", "//nologo", path)
    assert output.rstrip().endswith("demo: done"), output


def registered_by_itself(bitness: str, dll: bytes) -> set[str]:
    """The keys that the DLL itself writes at the place where the package puts it."""
    folder = os.path.join(prefix, "drive_c", FOLDER[bitness], "Brindlex")
    path = f"C:\\{FOLDER[bitness]}\\Brindlex\\Brindlex.dll"
    regsvr32 = SYSTEM[bitness] + "regsvr32.exe"
    os.mkdir(folder)
    with open(os.path.join(folder, "Brindlex.dll"), "wb") as file:
        file.write(dll)
    run(regsvr32, "/s", path)
    registered = keys("HKLM", bitness)
    run(regsvr32, "/s", "/u", path)
    shutil.rmtree(folder)
    return registered


def check_machine(bitness: str) -> None:
    folder = os.path.join(prefix, "drive_c", FOLDER[bitness], "Brindlex")
    run("msiexec", "/i", msi(bitness), *guide_options("/i"))
    os.remove(os.path.join(prefix, "drive_c", "install.log"))
    with open(os.path.join(folder, "Brindlex.dll"), "rb") as file:
        dll = file.read()
    demo(bitness, f"C:\\{FOLDER[bitness]}\\Brindlex")
    program = run(f"C:\\{FOLDER[bitness]}\\Brindlex\\brindlex.exe", "--version")
    assert re.fullmatch(r"brindlex \d+\.\d+\.\d+\n", program), program
    installed = keys("HKLM", bitness)
    run("msiexec", "/x", msi(bitness), *guide_options("/x"))
    registered = registered_by_itself(bitness, dll)
    assert len(installed) > 15 and installed == registered, sorted(installed ^ registered)


def check_user(bitness: str) -> None:
    run("msiexec", "/i", msi(bitness), "/qn", "ALLUSERS=")
    assert len(keys("HKCU", bitness)) > 15, keys("HKCU", bitness)
    assert not keys("HKLM", bitness), keys("HKLM", bitness)
    run("msiexec", "/x", msi(bitness), "/qn", "ALLUSERS=")


def check_both() -> None:
    """Either package is taken out without the other, whose hosts go on.

    What is left at the end is not looked at: Wine keeps the names of a 32-bit package in a place of
    their own, where Windows has one for both, so that the last package cannot find the first one's.
    """
    for first, second in (("x64", "x86"), ("x86", "x64")):
        run("msiexec", "/i", msi(first), "/qn")
        run("msiexec", "/i", msi(second), "/qn")
        run("msiexec", "/x", msi(first), "/qn")
        demo(second, f"C:\\{FOLDER[second]}\\Brindlex")
        run("msiexec", "/x", msi(second), "/qn")


def check_nothing_left(before: set[str], what: str) -> None:
    assert not left_in_registry(), f"{what} leaves {left_in_registry()}"
    ours = {name for name in files() - before if not name.startswith("windows/Installer")}
    assert not ours, f"{what} leaves {sorted(ours)}"


shutil.rmtree(prefix, ignore_errors=True)
run("cmd", "/c", "exit 0")
# The first installation makes folders of Windows Installer's own.
fresh = files() | {"users", "ProgramData"}
for tested in ("x64", "x86"):
    for check in (check_machine, check_user):
        check(tested)
        check_nothing_left(fresh, f"{check.__name__} {tested}")
    print(f"{tested}: installed, used and taken out, for the machine and for one user")
check_both()
print("both: neither takes the other along")
