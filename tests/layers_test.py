"""Checks which room of the tree includes which: arrows point down.

usage: layers_test.py ROOT
"""

import pathlib
import re
import sys

CORE = {"automation", "environment", "persistence", "bases", "appfiles"}
# What each room may include of the tree, beside itself. A folder belongs to the longest name that it starts with.
ALLOWED = {
    "automation": set(),
    "platform": {"automation"},
    "platform/memory": {"automation", "platform"},
    "platform/win32": {"automation", "platform", "platform/win32/automation"},
    "platform/win32/automation": {"automation", "platform"},
    "environment": {"automation", "platform"},
    "persistence": {"automation", "environment", "platform"},
    "bases": {"automation", "platform"},
    "appfiles": {"automation", "environment", "platform"},
    "server/runtime": set(),
    "server/com": {"automation", "platform/win32/automation", "server"},
    "server/classes": CORE | {"platform", "platform/win32", "platform/win32/automation", "server", "server/com", "server/runtime"},
    "server": {"platform/win32", "platform/win32/automation", "server/classes", "server/com", "server/runtime"},
    "cli/text": set(),
    "cli/io": {"cli/text"},
    "cli/format": {"automation", "persistence", "cli/io", "cli/text"},
    "cli/check": {"automation", "persistence", "cli/format", "cli/io", "cli/text"},
    "cli/compare": {"automation", "cli/format", "cli/io", "cli/text"},
    "cli/convert": {"automation", "bases", "platform", "cli/format", "cli/io", "cli/text"},
    "cli/commands": {"automation", "cli", "cli/check", "cli/compare", "cli/convert", "cli/format", "cli/io", "cli/text"},
    "cli": {"cli/commands", "cli/text"},
}
# The only places that know Windows; the program has other sources for every other system.
WINDOWS_FOLDERS = ("platform/win32/", "server/", "cli/io/system_windows.cpp", "cli/io/replacement_windows.cpp")
# What single sources may include besides.
SHARED = {
    "cli/io/replacement_windows.cpp": "platform/win32/file_security.h",
}
MOST_SOURCES = 30  # of one folder; a larger one is hard to find one's way in
WINDOWS_HEADERS = re.compile(r"<(windows|unknwn|objbase|oaidl|oleauto|ocidl|objidl|dispex)\.h>")
INCLUDE = re.compile(r'^\s*#\s*include\s+(<[^>]+>|"[^"]+")', re.MULTILINE)


def room_of(path: str) -> str:
    folder = pathlib.PurePosixPath(path).parent
    while folder.as_posix() not in ALLOWED and folder.name:
        folder = folder.parent
    return folder.as_posix()


def include_faults(name: str, text: str):
    room = room_of(name)
    for include in INCLUDE.findall(text):
        if WINDOWS_HEADERS.fullmatch(include) and not name.startswith(WINDOWS_FOLDERS):
            yield f"{name} includes {include}"
        if include[0] == '"' and SHARED.get(name) != include[1:-1]:
            other = room_of(include[1:-1])
            if other != room and other not in ALLOWED[room]:
                yield f"{name} includes {include}, which {room} may not use"


def faults(root: pathlib.Path):
    sources = [p for top in {name.split("/")[0] for name in ALLOWED} for p in (root / top).rglob("*")]
    sources = sorted(p for p in sources if p.suffix in (".h", ".cpp"))
    sizes = {}
    for source in sources:
        name = source.relative_to(root).as_posix()
        sizes[source.parent] = sizes.get(source.parent, 0) + 1
        if room_of(name) == ".":
            yield f"{name} is in no room"
        else:
            yield from include_faults(name, source.read_text(encoding="utf-8"))
    for room in ALLOWED:
        if root / room not in sizes:
            yield f"{room}: no sources found"
    for folder, size in sizes.items():
        if size > MOST_SOURCES:
            yield f"{folder.relative_to(root)} has {size} sources; at most {MOST_SOURCES}"


def main(root: str) -> int:
    found = list(faults(pathlib.Path(root)))
    print("\n".join(found) or "every include points down")
    return 1 if found else 0


sys.exit(main(sys.argv[1]))
