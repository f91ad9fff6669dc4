"""Holds the line between the rooms: which folder may include which.

usage: layers_test.py ROOT
"""

import pathlib
import re
import sys

# What each folder may include of the tree, beside itself. Arrows point one way.
ALLOWED = {
    "automation": set(),
    "environment": {"automation"},
    "platform": {"automation", "environment"},
    "persistence": {"automation", "environment", "platform"},
    "bases": {"automation", "environment"},
    "appfiles": {"automation", "environment", "platform"},
    "tool": {"automation", "environment", "bases"},
    "server": {"automation", "environment", "platform", "persistence", "bases", "appfiles"},
}
# The only places that know Windows; the program has other sources for every other system.
WINDOWS_FOLDERS = ("platform/win32/", "server/", "tool/system_windows.cpp", "tool/replacement_windows.cpp")
# What single sources may include besides.
SHARED = {"tool/replacement_windows.cpp": "platform/win32/file_security.h"}
WINDOWS_HEADERS = re.compile(r"<(windows|unknwn|objbase|oaidl|oleauto|ocidl|objidl|dispex)\.h>")
INCLUDE = re.compile(r'^\s*#\s*include\s+(<[^>]+>|"[^"]+")', re.MULTILINE)


def faults(root: pathlib.Path):
    for folder, allowed in ALLOWED.items():
        sources = sorted(p for p in (root / folder).rglob("*") if p.suffix in (".h", ".cpp"))
        if not sources:
            yield f"{folder}: no sources found"
        for source in sources:
            name = source.relative_to(root).as_posix()
            for include in INCLUDE.findall(source.read_text(encoding="utf-8")):
                if WINDOWS_HEADERS.fullmatch(include) and not name.startswith(WINDOWS_FOLDERS):
                    yield f"{name} includes {include}"
                room = include[1:-1].split("/")[0]
                if include[0] != '"' or SHARED.get(name) == include[1:-1]:
                    continue
                if room != folder and room not in allowed:
                    yield f"{name} includes {include}, which lies behind it"


def main(root: str) -> int:
    found = list(faults(pathlib.Path(root)))
    print("\n".join(found) or "every include points the right way")
    return 1 if found else 0


sys.exit(main(sys.argv[1]))
