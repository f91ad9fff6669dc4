"""Writes the description of the Windows Installer package of one bitness, for wixl.

usage: make_installer.py IDL VERSION x86|x64 FOLDER WXS

FOLDER is the tree to install, with Brindlex.dll at its top; wixl is to run in it. The rows of the registry are authored
here from the IDL, the same as the DLL writes by itself; the package runs no code of ours. All ids
follow from the names, so that equal trees make equal packages.
"""

import os
import sys
import uuid
from xml.sax.saxutils import quoteattr

import idl

NAMESPACE = uuid.UUID("6f6c35f9-0d6b-4a39-9a2c-0b9ad6f0a2be")
# The same for every version and for both bitnesses, or an upgrade would not find the old one.
UPGRADE_CODES = {
    "x86": "2A6D2B5E-7A57-4B8B-9B6E-3B0F4C0E9D11",
    "x64": "8E0C6E4B-5B0B-4D7D-8C37-0C8A3B9F2A64",
}
MARSHALER = "{00020424-0000-0000-C000-000000000046}"
CLASSES = "Software\\Classes\\"

Row = tuple[str, str, str]  # key, name of the value, text


def guid(*parts: str) -> str:
    return str(uuid.uuid5(NAMESPACE, "/".join(parts))).upper()


def identifier(kind: str, name: str) -> str:
    return f"{kind}_{uuid.uuid5(NAMESPACE, name).hex}"


def shared_rows(library: idl.Library) -> list[Row]:
    """What programs of both bitnesses read in one place."""
    rows = []
    version = f"TypeLib\\{{{library.uuid}}}\\{library.version}"
    rows += [
        (version, "", library.help),
        (version + "\\FLAGS", "", "0"),
        (version + "\\HELPDIR", "", "[INSTALLFOLDER]"),
    ]
    for coclass in library.classes:
        general = f"{library.name}.{coclass.name}"
        versioned = general + ".1"
        rows += [
            (general, "", general),
            (general + "\\CLSID", "", f"{{{coclass.uuid}}}"),
            (general + "\\CurVer", "", versioned),
            (versioned, "", general),
            (versioned + "\\CLSID", "", f"{{{coclass.uuid}}}"),
        ]
    return rows


def own_rows(library: idl.Library, bitness: str, dll: str) -> list[Row]:
    """What each bitness has for itself; DLL is how rows name the installed file."""
    version = f"TypeLib\\{{{library.uuid}}}\\{library.version}"
    system = "win64" if bitness == "x64" else "win32"
    rows = [(f"{version}\\0\\{system}", "", dll)]
    for coclass in library.classes:
        general = f"{library.name}.{coclass.name}"
        root = f"CLSID\\{{{coclass.uuid}}}"
        interface = f"Interface\\{{{coclass.interface.uuid}}}"
        rows += [
            (root, "", general),
            (root + "\\InprocServer32", "", dll),
            (root + "\\InprocServer32", "ThreadingModel", "Apartment"),
            (root + "\\ProgID", "", general + ".1"),
            (root + "\\VersionIndependentProgID", "", general),
            (root + "\\TypeLib", "", f"{{{library.uuid}}}"),
            (root + "\\Version", "", library.version),
            (interface, "", coclass.interface.name),
            (interface + "\\ProxyStubClsid32", "", MARSHALER),
            (interface + "\\TypeLib", "", f"{{{library.uuid}}}"),
            (interface + "\\TypeLib", "Version", library.version),
        ]
    return rows


def row_line(row: Row, key_path: bool = False) -> str:
    key, name, text = row
    named = f" Name={quoteattr(name)}" if name else ""
    marked = ' KeyPath="yes"' if key_path else ""
    # HKMU: the machine's keys or the user's, as the package is installed.
    return (
        f'<RegistryValue Root="HKMU" Key={quoteattr(CLASSES + key)}{named}'
        f' Type="string" Value={quoteattr(text)}{marked}/>'
    )


class Installer:
    """Collects the components and the folders of one package."""

    def __init__(self, library: idl.Library, version: str, bitness: str, folder: str) -> None:
        self.library, self.version, self.bitness, self.folder = library, version, bitness, folder
        self.components: list[str] = []
        self.lines: list[str] = []

    def component(self, name: str, code: str, content: list[str]) -> None:
        own = identifier("c", name)
        self.components.append(own)
        wide = ' Win64="yes"' if self.bitness == "x64" else ""
        self.lines += [f'<Component Id="{own}" Guid="{code}"{wide}>', *content, "</Component>"]

    def add_file(self, path: str) -> None:
        name = os.path.relpath(path, self.folder).replace(os.sep, "/")
        own = identifier("f", name)
        content = [f'<File Id="{own}" Source={quoteattr(name)} KeyPath="yes"/>']
        if name == f"{self.library.name}.dll":
            content += [row_line(r) for r in own_rows(self.library, self.bitness, f"[#{own}]")]
        self.component(name, guid(self.bitness, name), content)

    def add_folder(self, path: str) -> None:
        for name in sorted(os.listdir(path)):
            inner = os.path.join(path, name)
            if os.path.isdir(inner):
                own = identifier("d", os.path.relpath(inner, self.folder))
                self.lines.append(f"<Directory Id={quoteattr(own)} Name={quoteattr(name)}>")
                self.add_folder(inner)
                self.lines.append("</Directory>")
            else:
                self.add_file(inner)

    def add_shared(self) -> None:
        # One component of both packages, which goes with the last of them.
        rows = shared_rows(self.library)
        content = [row_line(row, index == 0) for index, row in enumerate(rows)]
        self.component("shared registration", guid("shared"), content)

    def text(self) -> str:
        name = self.library.name
        title = f"{name} {'64-bit' if self.bitness == 'x64' else '32-bit'}"
        program_files = "ProgramFiles64Folder" if self.bitness == "x64" else "ProgramFilesFolder"
        self.add_folder(self.folder)
        self.add_shared()
        return "\n".join([
            '<?xml version="1.0" encoding="utf-8"?>',
            '<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">',
            f'<Product Id="{guid(self.version, self.bitness)}" Name="{title}" Language="1033"'
            f' Version="{self.version}" Manufacturer="The {name} developers"'
            f' UpgradeCode="{UPGRADE_CODES[self.bitness]}">',
            f'<Package InstallerVersion="500" Compressed="yes"'
            f' Description="{title} {self.version}" Manufacturer="The {name} developers"/>',
            '<MajorUpgrade DowngradeErrorMessage="A newer version is installed."/>',
            '<Media Id="1" Cabinet="files.cab" EmbedCab="yes"/>',
            '<Property Id="ALLUSERS" Value="1"/>',
            '<Property Id="ARPNOMODIFY" Value="1"/>',
            '<Directory Id="TARGETDIR" Name="SourceDir">',
            f'<Directory Id="{program_files}">',
            f'<Directory Id="INSTALLFOLDER" Name="{name}">',
            *self.lines,
            "</Directory></Directory></Directory>",
            f'<Feature Id="Complete" Title="{name}" Level="1">',
            *[f'<ComponentRef Id="{component}"/>' for component in self.components],
            "</Feature>",
            "</Product></Wix>",
            "",
        ])


def main(description: str, version: str, bitness: str, folder: str, path: str) -> None:
    text = Installer(idl.read_library(description), version, bitness, folder).text()
    with open(path, "w", encoding="utf-8", newline="\n") as file:
        file.write(text)


main(*sys.argv[1:])
