"""Writes a copy of an IDL file in which every class, its interface and every member has its help context.

usage: help_contexts.py IDL COPY

A library without a help file is copied as it is. idl.number_help says which contexts there are.
"""

import re
import sys

import idl

HELP = re.compile(r"\bhelpstring\(")


def numbers(text: str, library: idl.Library) -> list[int]:
    """The context of each helpstring after the library's own, in the order of the file."""
    by_class = {coclass.name: coclass.context for coclass in library.classes}
    by_interface = {coclass.interface.name: coclass for coclass in library.classes}
    found = []
    for match in re.finditer(r"\]\s*(interface|coclass)\s+(\w+)\s*(?=[:{])", text):
        if match[1] == "coclass":
            found.append(by_class[match[2]])
        else:
            coclass = by_interface[match[2]]
            found += [coclass.context, *(member.context for member in coclass.interface.members)]
    return found


def with_contexts(text: str, library: idl.Library) -> str:
    head, _, rest = text.partition("\nlibrary ")
    contexts = iter(numbers(rest, library))
    # next() fails when there are more helpstrings than contexts, and the count below when there are fewer.
    marked = HELP.sub(lambda match: f"helpcontext({next(contexts)}), {match[0]}", rest)
    if list(contexts):
        raise ValueError("a class or member has no helpstring")
    return head + "\nlibrary " + marked


def main(source: str, target: str) -> None:
    with open(source, encoding="ascii") as file:
        text = file.read()
    if "helpfile(" in text:
        text = with_contexts(text, idl.read_library(source))
    with open(target, "w", encoding="ascii", newline="\n") as file:
        file.write(text)


main(*sys.argv[1:])
