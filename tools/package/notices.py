"""The text of THIRD-PARTY-NOTICES.txt: every third-party part, what it is linked into, its licence texts."""

import os

from parts import PARTS, Part

NAMES = {
    "component-x86": "x86\\Brindlex.dll",
    "component-x64": "x64\\Brindlex.dll",
    "program-x86": "x86\\brindlex.exe",
    "program-x64": "x64\\brindlex.exe",
    "program-linux": "brindlex for Linux",
}
HEAD = """Third-party notices

The files of this package contain the parts that are listed here, each under the terms of its own licence.
A text that several parts share is printed once, with the first of them.
"""


def entry(part: Part, root: str, printed: dict[str, str]) -> str:
    """One part with its texts; `printed` maps each text so far to the part that it was printed with."""
    lines = ["=" * 100, part.name, "=" * 100, f"Version:    {part.version}",
             f"Home page:  {part.homepage}", f"Licence:    {part.licence}",
             "Linked into " + ", ".join(NAMES[name] for name in part.binaries) + ".", ""]
    if part.note:
        lines += [part.note, ""]
    for text in part.texts:
        content = text.read(root)
        if content in printed:
            lines += [f"[{text.start or os.path.basename(text.path)}: printed with {printed[content]}]", ""]
        else:
            printed[content] = part.name
            lines += [content, ""]
    return "\n".join(lines)


def notices(root: str, binaries: set[str]) -> str:
    """The notices of a package that contains these binaries."""
    printed: dict[str, str] = {}
    parts = [part for part in PARTS if binaries & set(part.binaries)]
    return "\n".join([HEAD, *(entry(part, root, printed) for part in parts)])
