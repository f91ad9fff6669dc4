"""The help contexts of the type library, and the sections that they open."""

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../generate"))
import idl  # noqa: E402

REFERENCE = "reference.html"


def contexts(description: str, sections: list) -> dict[int, tuple[str, str]]:
    """For each help context of the IDL the name that it belongs to ("clsCollection.Add") and the anchor of
    its section in the reference. A class or member without a context or without a section is an error.

    A member's section is the first heading of its name below its class."""
    found: dict[int, tuple[str, str]] = {}
    for coclass in idl.read_library(description).classes:
        first = next(i for i, s in enumerate(sections) if s.level == 2 and s.title == coclass.name)
        rest = sections[first + 1:]
        own = rest[:next((i for i, s in enumerate(rest) if s.level == 2), len(rest))]
        wanted = [(coclass.name, coclass.context, sections[first].anchor)]
        for member in coclass.interface.members:
            anchors = [s.anchor for s in own if s.title == member.name]
            assert anchors, f"the reference has no section of {coclass.name}.{member.name}"
            wanted.append((f"{coclass.name}.{member.name}", member.context, anchors[0]))
        for name, context, anchor in wanted:
            assert context and found.get(context, (name, anchor)) == (name, anchor), f"{name}: {context}"
            found[context] = (name, anchor)
    return found
