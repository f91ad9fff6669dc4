"""Writes the tables over which the classes answer IDispatch.

usage: make_dispatch_tables.py IDL HEADER

For each interface of the description the header has a table of its members, kMembersOf<Interface>,
whose entries call the interface's vtable with the arguments of a late-bound call.
"""

import sys

import idl

ARGUMENTS = {
    "BSTR": "TextAt",
    "VARIANT": "ValueAt",
    "VARIANT_BOOL": "FlagAt",
    "long": "LongAt",
    "IDispatch*": "ObjectAt",
}
# Arguments that the member may replace.
VARIABLES = {
    "BSTR*": "TextVariableAt",
    "long*": "LongVariableAt",
    "double*": "DoubleVariableAt",
    "IDispatch**": "ObjectVariableAt",
}
RESULTS = {
    "BSTR": "ResultText",
    "VARIANT": "ResultValue",
    "VARIANT_BOOL": "ResultFlag",
    "long": "ResultLong",
    "double": "ResultDouble",
    "IUnknown*": "ResultUnknown",
}
KINDS = {"call": "DISPATCH_METHOD", "get": "DISPATCH_PROPERTYGET", "put": "DISPATCH_PROPERTYPUT"}
METHODS = {"call": "", "get": "get_", "put": "put_"}


def argument(member: idl.Member, index: int) -> str:
    parameter = member.parameters[index]
    if parameter.is_by_reference:
        default = "" if parameter.default is None else f", {parameter.default}"
        return f"call.{VARIABLES[parameter.type]}({index}{default})"
    if member.is_reference:
        assert parameter.type == "IDispatch*"
        return f"call.ObjectOrNothingAt({index})"
    return f"call.{ARGUMENTS[parameter.type]}({index})"


def result(parameter: idl.Parameter) -> str:
    inner = parameter.type.removesuffix("*")
    if inner in RESULTS:
        return f"call.{RESULTS[inner]}()"
    return f"call.ResultObject<{inner.removesuffix('*')}>()"


def entry(interface: idl.Interface, member: idl.Member) -> list[str]:
    arguments = [argument(member, index) for index in range(len(member.parameters))]
    if member.result is not None:
        arguments.append(result(member.result))
    method = ("putref_" if member.is_reference else METHODS[member.kind]) + member.name
    kind = KINDS[member.kind] + (" | DISPATCH_PROPERTYPUTREF" if member.is_reference else "")
    names = ", ".join(
        f'{"Optional" if "optional" in parameter.attributes else "Required"}(L"{parameter.name}")'
        for parameter in member.parameters
    )
    return [
        f'    {{L"{member.name}", {member.id}, {kind},',
        "     [](IDispatch& self, Call& call) -> HRESULT {",
        f"       return static_cast<{interface.name}&>(self).{method}({', '.join(arguments)});",
        "     },",
        f"     {{{names}}}}},",
    ]


def table(interface: idl.Interface) -> list[str]:
    name = f"kMembers{interface.name}"
    lines = [f"inline constexpr Member {name}[] = {{"]
    for member in interface.members:
        lines += entry(interface, member)
    return lines + [
        "};",
        "template <>",
        f"inline constexpr std::span<const Member> kMembersOf<{interface.name}>{{{name}}};",
        "",
    ]


def header(library: idl.Library) -> str:
    lines = [
        "// Made from the interface description by tools/generate/make_dispatch_tables.py.",
        "",
        "#pragma once",
        "",
        "#include <span>",
        "",
        f'#include "server/{library.name}.h"',
        '#include "server/com/call.h"',
        "",
        "namespace brindlex {",
        "",
        "template <class Interface>",
        "inline constexpr std::span<const Member> kMembersOf;",
        "",
    ]
    for coclass in library.classes:
        lines += table(coclass.interface)
    return "\n".join(lines + ["}  // namespace brindlex", ""])


def main(description: str, path: str) -> None:
    text = header(idl.read_library(description))
    with open(path, "w", encoding="ascii", newline="\n") as file:
        file.write(text)


main(*sys.argv[1:])
