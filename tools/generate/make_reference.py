"""Writes the parts of docs/reference.md that follow from the interface description.

usage: make_reference.py IDL REFERENCE [--check]

A part is between the lines "<!-- made from the IDL: NAME -->" and "<!-- end -->"; the rest of the page is
written by hand. NAME is "classes", "members CLASS" or "identifiers". With --check writes nothing,
and fails when a part is not what would be written, or when a class or a member of the description has
no place in the page.
"""

import re
import sys

import generated
import idl

PART = re.compile(r"(<!-- made from the IDL: ([^>]*?) -->\n)(.*?)(<!-- end -->)", re.DOTALL)


def escaped(name: str) -> str:
    return name.replace("_", "\\_")


def anchor(coclass: idl.Coclass) -> str:
    return f"[{coclass.name}](#{coclass.name.lower()})"


def classes(library: idl.Library) -> list[str]:
    lines = ["| Class | ProgID | What it is |", "|---|---|---|"]
    for coclass in library.classes:
        progid = f"`{library.name}.{coclass.name}`"
        lines.append(f"| {anchor(coclass)} | {progid} | {coclass.help} |")
    return lines


def argument(parameter: idl.Parameter) -> str:
    text = parameter.name
    if parameter.is_by_reference:
        text = "ByRef " + text
    return f"[{text}]" if "optional" in parameter.attributes else text


def call(member: idl.Member) -> str:
    arguments = ", ".join(argument(parameter) for parameter in member.parameters)
    shown = f"({arguments})" if arguments or member.kind == "call" else ""
    return f"`{member.name}{shown}`"


def members(coclass: idl.Coclass, page: str) -> list[str]:
    """A line for each member, linked to its section if it has one; both directions of a property
    share a line."""
    written = {member.name for member in coclass.interface.members if member.kind == "put"}
    lines = ["| Member | Result | |", "|---|---|---|"]
    for member in coclass.interface.members:
        if member.kind == "put":
            continue
        result = member.result.word if member.result else ""
        if member.kind == "get":
            result += ", read and write" if member.name in written else ", read only"
        shown = call(member)
        if f"\n### {escaped(member.name)}\n" in page:
            shown = f"[{shown}](#{member.name.lower()})"
        lines.append(f"| {shown} | {result} | {member.help} |")
    return lines


def identifiers(library: idl.Library) -> list[str]:
    lines = ["| | Id |", "|---|---|"]
    lines.append(f"| type library `{library.name}` {library.version} | {library.uuid} |")
    for coclass in library.classes:
        lines.append(f"| class `{coclass.name}` | {coclass.uuid} |")
        lines.append(f"| interface `{coclass.interface.name}` | {coclass.interface.uuid} |")
    lines += ["", "| Class | Dispatch ids |", "|---|---|"]
    for coclass in library.classes:
        ids = {member.id: member.name for member in coclass.interface.members}
        listed = ", ".join(f"{own} `{ids[own]}`" for own in sorted(ids))
        lines.append(f"| `{coclass.name}` | {listed} |")
    return lines


def part(library: idl.Library, name: str, page: str) -> str:
    kind, _, which = name.partition(" ")
    if kind == "members":
        lines = members({coclass.name: coclass for coclass in library.classes}[which], page)
    else:
        lines = {"classes": classes, "identifiers": identifiers}[kind](library)
    return "\n".join(lines) + "\n"


def without_place(library: idl.Library, page: str) -> list[str]:
    """What the page does not have a part for."""
    wanted = ["classes", "identifiers", *(f"members {c.name}" for c in library.classes)]
    present = {match[2] for match in PART.finditer(page)}
    return [name for name in wanted if name not in present]


def main(description: str, path: str, *rest: str) -> int:
    library = idl.read_library(description)
    with open(path, encoding="utf-8") as file:
        page = file.read()
    made = PART.sub(lambda match: match[1] + part(library, match[2], page) + match[4], page)
    if missing := without_place(library, page):
        print(f"{path} has no place for: {', '.join(missing)}")
        return 1
    return generated.write_or_check(path, made, rest)


sys.exit(main(*sys.argv[1:]))
