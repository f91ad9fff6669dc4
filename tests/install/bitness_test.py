"""Both bitnesses on one 64-bit Windows: registered side by side, neither takes the other's away.

usage: bitness_test.py WINE64 DLL32 DLL64
"""

import os
import subprocess
import sys
import tempfile

SYSTEM = {32: "C:\\windows\\syswow64\\", 64: "C:\\windows\\system32\\"}
SCRIPT = """Set entries = CreateObject("Brindlex.clsCollection")
entries.Add "one", "key"
WScript.Echo "found " & entries("KEY")
"""
LIBRARY = "{90E89859-3FAC-4C4B-8115-E34F4C404E17}"
CLASS = "{E67379C4-E3BA-4E77-BEA9-980B7E9EE5B9}"
# What both bitnesses share, and what each has of its own.
KEYS = ["Brindlex.clsCollection", "Brindlex.clsAppFiles.1", f"TypeLib\\{LIBRARY}", f"CLSID\\{CLASS}"]

wine, dlls = sys.argv[1], {32: sys.argv[2], 64: sys.argv[3]}


def run(*command: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [wine, *command], stdout=subprocess.PIPE, text=True, timeout=120, check=False
    )


def windows_path(path: str) -> str:
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def register(bitness: int, *options: str) -> None:
    result = run(SYSTEM[bitness] + "regsvr32.exe", "/s", *options, windows_path(dlls[bitness]))
    assert result.returncode == 0, f"regsvr32 {options} of {bitness} bits ended with {result}"


def works(bitness: int) -> bool:
    with tempfile.NamedTemporaryFile("w", suffix=".vbs") as script:
        script.write(SCRIPT)
        script.flush()
        result = run(SYSTEM[bitness] + "cscript.exe", "//nologo", windows_path(script.name))
    return result.stdout.strip() == "found one"


def expect(in32: bool, in64: bool) -> None:
    found = {bitness: works(bitness) for bitness in (32, 64)}
    assert found == {32: in32, 64: in64}, f"hosts that work: {found}"


def keys_left() -> list[str]:
    roots = ["HKLM\\Software\\Classes\\", "HKLM\\Software\\Classes\\Wow6432Node\\"]
    paths = [root + key for root in roots for key in KEYS]
    return [path for path in paths if run("reg", "query", path).returncode == 0]


for missing in [dll for dll in dlls.values() if not os.path.exists(dll)]:
    sys.exit(f"{missing} is not built")
for either in (32, 64):
    register(either, "/u")
expect(in32=False, in64=False)
assert not keys_left(), keys_left()
for first, second in ((32, 64), (64, 32)):
    register(first)
    register(second)
    expect(in32=True, in64=True)
    assert len(keys_left()) >= len(KEYS), keys_left()
    register(first, "/u")
    expect(in32=second == 32, in64=second == 64)
    register(second, "/u")
    expect(in32=False, in64=False)
    assert not keys_left(), keys_left()
print("both bitnesses come and go by themselves")
