"""Writes the assembly manifest of the DLL: what hosts need to use it without registration.

usage: make_manifest.py IDL VERSION ARCHITECTURE MANIFEST

VERSION has three numbers; ARCHITECTURE is x86 or amd64.
"""

import sys
from xml.sax.saxutils import quoteattr

import idl

# The system's marshaler for interfaces that a type library describes.
MARSHALER = "{00020424-0000-0000-C000-000000000046}"


def element(indent: int, tag: str, inner: str | None = None, /, **attributes: str) -> list[str]:
    opening = f"{'  ' * indent}<{tag}" + "".join(
        f" {key}={quoteattr(value)}" for key, value in attributes.items()
    )
    if inner is None:
        return [opening + "/>"]
    return [opening + ">" + inner + f"</{tag}>"]


def class_lines(library: idl.Library, coclass: idl.Coclass) -> list[str]:
    general = f"{library.name}.{coclass.name}"
    opening = element(
        2, "comClass", clsid=f"{{{coclass.uuid}}}", tlbid=f"{{{library.uuid}}}",
        threadingModel="Apartment", progid=general + ".1", description=coclass.help,
    )
    lines = [opening[0].removesuffix("/>") + ">"]
    lines += element(3, "progid", general)
    return lines + ["    </comClass>"]


def manifest(library: idl.Library, version: str, architecture: str) -> str:
    lines = [
        '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>',
        '<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">',
    ]
    lines += element(
        1, "assemblyIdentity", type="win32", name=library.name, version=version + ".0",
        processorArchitecture=architecture,
    )
    lines += [f'  <file name="{library.name}.dll">']
    lines += element(
        2, "typelib", tlbid=f"{{{library.uuid}}}", version=library.version, helpdir=""
    )
    for coclass in library.classes:
        lines += class_lines(library, coclass)
    lines += ["  </file>"]
    for coclass in library.classes:
        lines += element(
            1, "comInterfaceExternalProxyStub", name=coclass.interface.name,
            iid=f"{{{coclass.interface.uuid}}}", tlbid=f"{{{library.uuid}}}",
            proxyStubClsid32=MARSHALER,
        )
    return "\n".join(lines + ["</assembly>", ""])


def main(description: str, version: str, architecture: str, path: str) -> None:
    text = manifest(idl.read_library(description), version, architecture)
    with open(path, "w", encoding="utf-8", newline="\n") as file:
        file.write(text)


main(*sys.argv[1:])
