"""Writes the unit that Free Pascal and Delphi need for early binding.

usage: make_pascal.py IDL UNIT [--check]

With --check writes nothing, and fails when UNIT is not what would be written.
"""

import sys

import generated
import idl

TYPES = {
    "BSTR": "WideString",
    "VARIANT": "OleVariant",
    "VARIANT_BOOL": "WordBool",
    "long": "Integer",
    "double": "Double",
    "IDispatch*": "IDispatch",
    "IUnknown*": "IUnknown",
}


def pascal_type(parameter: idl.Parameter) -> str:
    inner = parameter.type
    if "out" in parameter.attributes:
        inner = inner.removesuffix("*")
    return TYPES.get(inner) or inner.removesuffix("*")


def declaration(member: idl.Member) -> str:
    name = {"get": "Get_", "put": "Set_", "call": ""}[member.kind] + member.name
    parameters = "; ".join(
        ("var " if parameter.is_by_reference else "") + f"{parameter.name}: {pascal_type(parameter)}"
        for parameter in member.parameters
    )
    listed = f"({parameters})" if parameters else ""
    if member.result is None:
        return f"    procedure {name}{listed}; safecall;"
    return f"    function {name}{listed}: {pascal_type(member.result)}; safecall;"


def property_lines(interface: idl.Interface) -> list[str]:
    written = {member.name for member in interface.members if member.kind == "put"}
    lines = []
    for member in interface.members:
        # One that needs arguments is reached by its function.
        if member.kind != "get" or member.parameters:
            continue
        assert member.result is not None
        setter = f" write Set_{member.name}" if member.name in written else ""
        lines.append(
            f"    property {member.name}: {pascal_type(member.result)} read Get_{member.name}{setter};"
        )
    return lines


def interface_lines(interface: idl.Interface) -> list[str]:
    lines = [f"  {{ {interface.help}. }}", f"  {interface.name} = interface(IDispatch)"]
    lines.append(f"    ['{{{interface.uuid}}}']")
    lines += [declaration(member) for member in interface.members]
    return lines + property_lines(interface) + ["  end;", ""]


def creator(coclass: idl.Coclass) -> str:
    return f"function Create_{coclass.name}: {coclass.interface.name};"


def unit(library: idl.Library) -> str:
    classes = library.classes
    lines = [
        "{ The interfaces of Brindlex for early binding. Made from server/Brindlex.idl by",
        "  tools/generate/make_pascal.py; not to be edited. }",
        f"unit {library.name}_TLB;",
        "",
        "{$ifdef fpc}{$mode delphi}{$endif}",
        "",
        "interface",
        "",
        "uses ActiveX, ComObj;",
        "",
        "const",
        f"  LIBID_{library.name}: TGUID = '{{{library.uuid}}}';",
    ]
    lines += [f"  CLASS_{coclass.name}: TGUID = '{{{coclass.uuid}}}';" for coclass in classes]
    lines += ["", "type"]
    lines += [f"  {coclass.interface.name} = interface;" for coclass in classes] + [""]
    for coclass in classes:
        lines += interface_lines(coclass.interface)
    lines += [creator(coclass) for coclass in classes] + ["", "implementation", ""]
    for coclass in classes:
        lines += [
            creator(coclass),
            "begin",
            f"  Result := CreateComObject(CLASS_{coclass.name}) as {coclass.interface.name};",
            "end;",
            "",
        ]
    return "\n".join(lines + ["end.", ""])


def main(description: str, path: str, *rest: str) -> int:
    return generated.write_or_check(path, unit(idl.read_library(description)), rest)


sys.exit(main(*sys.argv[1:]))
