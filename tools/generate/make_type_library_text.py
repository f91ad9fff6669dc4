"""Writes what hosts see of the component as text: the type library, as a test reads it from the DLL.

usage: make_type_library_text.py IDL TEXT [--check]

With --check writes nothing, and fails when TEXT is not what would be written.
"""

import sys

import generated
import idl

# IDispatch has the first seven entries of every vtable.
FIRST_SLOT = 7
INTERFACE_FLAGS = "0x1140"  # dual, for automation types only, of IDispatch
CLASS_FLAGS = "0x2"  # creatable
DEFAULT_INTERFACE = "flags 1"
ATTRIBUTES = ("in", "out", "optional")


class Names:
    """A type library has each name in one letter case only: that of its first use."""

    def __init__(self) -> None:
        self.known: dict[str, str] = {}

    def __call__(self, name: str) -> str:
        return self.known.setdefault(name.lower(), name)


def parameter_text(parameter: idl.Parameter, names: Names) -> str:
    attributes = ", ".join(name for name in ATTRIBUTES if name in parameter.attributes)
    text = f"[{attributes}] {parameter.type} {names(parameter.name)}"
    if parameter.default is None:
        return text
    return f"{text} = {parameter.type.removesuffix('*')} {parameter.default}"


def declaration(member: idl.Member, names: Names) -> str:
    kind = member.kind + ("ref" if member.is_reference else "")
    name = names(member.name)
    parameters = [parameter_text(parameter, names) for parameter in member.parameters]
    if member.kind == "put":
        # What a property is set to has no name of its own.
        parameters[-1] = parameters[-1].rpartition(" ")[0]
    text = f"{member.id} {kind} {name}({', '.join(parameters)})"
    if member.result is not None:
        text += " " + member.result.type.removesuffix("*")
    return text + (" restricted" if member.is_restricted else "")


def interface_lines(interface: idl.Interface, names: Names) -> list[str]:
    lines = [
        "",
        f"interface {interface.name} {{{interface.uuid}}} flags {INTERFACE_FLAGS}",
        f'  "{interface.help}"',
    ]
    for slot, member in enumerate(interface.members, FIRST_SLOT):
        lines += [f"  {slot}: {declaration(member, names)}", f'    "{member.help}"']
    return lines


def class_lines(coclass: idl.Coclass) -> list[str]:
    return [
        "",
        f"coclass {coclass.name} {{{coclass.uuid}}} flags {CLASS_FLAGS}",
        f'  "{coclass.help}"',
        f"  {coclass.interface.name} {DEFAULT_INTERFACE}",
    ]


def type_library_text(library: idl.Library) -> str:
    names = Names()
    lines = [
        f"library {library.name} {library.version} {{{library.uuid}}} locale 0",
        f'  "{library.help}"',
    ]
    for coclass in library.classes:
        lines += interface_lines(coclass.interface, names)
    for coclass in library.classes:
        lines += class_lines(coclass)
    return "\n".join([*lines, ""])


def main(description: str, path: str, *rest: str) -> int:
    return generated.write_or_check(path, type_library_text(idl.read_library(description)), rest)


sys.exit(main(*sys.argv[1:]))
