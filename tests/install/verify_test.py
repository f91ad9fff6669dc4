"""verify.cmd of the zip, as a user runs it: all of it passes, it finds a fault, and it leaves no file and no key.

usage: verify_test.py WINE64 ZIP PREFIX

PREFIX is made anew. Wine activates no class that is registered for one user, so the component is registered
for all users beforehand, from a place of its own; verify.cmd does not look there.
"""

import html
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile

WINE, ZIP, PREFIX = sys.argv[1], sys.argv[2], os.path.abspath(sys.argv[3])
os.environ["BRINDLEX_PREFIX"] = PREFIX
SYSTEM = {"x86": "C:\\windows\\syswow64\\", "x64": "C:\\windows\\system32\\"}
OURS = re.compile(r"brindlex", re.IGNORECASE)


def run(*command: str, expect: int = 0) -> str:
    result = subprocess.run([WINE, *command], stdout=subprocess.PIPE, timeout=1800, check=False)
    text = result.stdout.decode("cp1252").replace("\r", "")
    assert result.returncode == expect, f"{command}: {result.returncode}, not {expect}\n{text}"
    return text


def verify(folder: str, *arguments: str, expect: int = 0) -> str:
    """Runs the script as a prompt does, where its path is in quotes."""
    caller = os.path.join(os.path.dirname(folder), "caller.cmd")
    words = [windows_path(os.path.join(folder, "verify/verify.cmd")), *arguments]
    with open(caller, "w", encoding="ascii", newline="\r\n") as file:
        file.write("@call " + " ".join(f'"{word}"' for word in words) + "\n")
    return run("cmd", "/c", windows_path(caller), expect=expect)


def windows_path(path: str) -> str:
    return "Z:" + path.replace("/", "\\")


def files() -> set[str]:
    drive = os.path.join(PREFIX, "drive_c")
    return {os.path.relpath(os.path.join(path, name), drive)
            for path, folders, names in os.walk(drive) for name in names + folders}


def user_keys() -> list[str]:
    """The lines of the user's registry that are about us, as soon as the server has written it down."""
    for option in ("-k", "-w"):
        subprocess.run(["wineserver", option], env=dict(os.environ, WINEPREFIX=PREFIX), timeout=120, check=False)
    with open(os.path.join(PREFIX, "user.reg"), encoding="latin-1") as file:
        return [line for line in file if OURS.search(line)]


def rows_of(report: str) -> list[list[str]]:
    with open(report, encoding="utf-8") as file:
        text = file.read()
    return [[html.unescape(cell) for cell in re.findall(r"<td>(.*?)</td>", row)]
            for row in re.findall(r"<tr[^>]*>(.*?)</tr>", text) if row.count("<td>") == 5]


def check_all_passes(folder: str) -> None:
    report = os.path.join(folder, "verify/report.html")
    printed = verify(folder)
    rows = rows_of(report)
    states = {state: sum(row[0] == state for row in rows) for state in ("pass", "fail", "skip")}
    assert states["fail"] == states["skip"] == 0 and states["pass"] > 80, printed
    for bitness in ("x86", "x64"):
        checked = " ".join(row[2] for row in rows if row[1].startswith(bitness))
        for name in ("prints its last line", "redirected root", "900,000", "killed save", "books.vbs", "books.js"):
            assert name in checked, f"{bitness}: {name} was not checked"
    with open(report, encoding="utf-8") as file:
        about = file.read()
    assert "Microsoft Windows" in about and "ANSI code page" in about
    os.remove(report)
    print(f"verify.cmd: {states['pass']} checks passed")


def check_fault_is_found(folder: str) -> None:
    """A program in the place of the DLL, and an example that does not end."""
    shutil.copyfile(os.path.join(folder, "x64/verify/digest.exe"), os.path.join(folder, "x64/Brindlex.dll"))
    with open(os.path.join(folder, "examples/books.js"), "a", encoding="ascii") as file:
        file.write('\nWScript.Echo("<one more line>");\n')
    report = os.path.join(folder, "own report.html")
    verify(folder, windows_path(report), expect=1)
    failed = {(row[1], row[2]): row[4] for row in rows_of(report) if row[0] == "fail"}
    assert ("x64, registration-free", "loads the DLL") in failed, failed
    assert failed["x86, cscript", "examples\\books.js"] == "<one more line>", failed
    print(f"verify.cmd: a fault is found, {len(failed)} checks failed")


def check_registration_is_kept(folder: str) -> None:
    """Somebody's own registration for the user is neither used nor removed. The 64-bit DLL is still the wrong file."""
    key = "HKCU\\Software\\Classes\\Brindlex.clsCollection"
    run("reg", "add", key, "/ve", "/d", "mine", "/f")
    report = os.path.join(folder, "own report.html")
    verify(folder, windows_path(report), expect=1)
    skipped = [row for row in rows_of(report) if row[0] == "skip"]
    assert [row[1] for row in skipped if "already" in row[2]] == ["x86, registered for the user"], skipped
    assert "mine" in run("reg", "query", key)
    run("reg", "delete", key, "/f")
    print("verify.cmd: leaves another registration alone")


def main() -> None:
    shutil.rmtree(PREFIX, ignore_errors=True)
    run("cmd", "/c", "exit 0")
    with tempfile.TemporaryDirectory() as work:
        with zipfile.ZipFile(ZIP) as archive:
            archive.extractall(work)
        # With a blank in its name, as downloads often have.
        folder = os.path.join(work, "Brindlex (1)")
        os.rename(os.path.join(work, os.listdir(work)[0]), folder)
        for bitness in ("x86", "x64"):
            installed = os.path.join(PREFIX, "drive_c", "registered " + bitness, "Brindlex.dll")
            os.makedirs(os.path.dirname(installed))
            shutil.copyfile(os.path.join(folder, bitness, "Brindlex.dll"), installed)
            run(SYSTEM[bitness] + "regsvr32.exe", "/s", f"C:\\registered {bitness}\\Brindlex.dll")
        # The first script makes folders of the scripting host's own.
        run("cscript", "//nologo", windows_path(os.path.join(folder, "examples/books.vbs")))
        before, packaged = files(), {os.path.join(path, name) for path, _, names in os.walk(folder) for name in names}
        check_all_passes(folder)
        assert not user_keys(), user_keys()
        assert files() == before, files() ^ before
        after = {os.path.join(path, name) for path, _, names in os.walk(folder) for name in names}
        assert after == packaged, after ^ packaged
        check_fault_is_found(folder)
        check_registration_is_kept(folder)
        assert not user_keys(), user_keys()


main()
