"""What docs/files.md recommends for the settings folder that all users share.

usage: shared_folder_test.py FILES_MD
       shared_folder_test.py FILES_MD WINE64 PREFIX

Alone: both forms of the recommendation give the same rights. With Wine, which is to have msiexec and icacls: a
package with the folders is built by wixl, installed and removed, and the commands run. PREFIX is made by the first
run of WINE64.
"""

import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

WIX = "{http://schemas.microsoft.com/wix/2006/wi}"
SIDS = {"SY": "S-1-5-18", "BA": "S-1-5-32-544", "BU": "S-1-5-32-545"}
MASKS = {"FA": 0x1F01FF}
SIMPLE = {"F": 0x1F01FF, "M": 0x1301BF, "RX": 0x1200A9}

Rights = dict[str, tuple[str, int]]  # by security identifier: inheritance, access mask


def block(text: str, language: str) -> str:
    found = re.findall(rf"```{language}\n(.*?)```", text, re.DOTALL)
    assert len(found) == 1, (language, len(found))
    return found[0]


def rights_of_sddl(sddl: str) -> Rights:
    assert re.fullmatch(r"D:P(\(A;OICI;\w+;;;\w\w\))+", sddl), sddl
    entries = re.findall(r"\(A;(\w+);(\w+);;;(\w\w)\)", sddl)
    return {
        SIDS[who]: (flags, MASKS.get(mask) or int(mask, 16)) for flags, mask, who in entries
    }


def folders_of_wix(element: ElementTree.Element, path: str = "") -> dict[str, Rights]:
    found = {}
    for inner in element:
        name = inner.get("Name")
        own = f"{path}\\{name}" if name else path
        if inner.tag == WIX + "PermissionEx":
            found[path] = rights_of_sddl(inner.get("Sddl", ""))
        found |= folders_of_wix(inner, own)
    return found


def folders_of_commands(lines: list[str]) -> dict[str, Rights]:
    found = {}
    for line in lines:
        granted = re.fullmatch(r'icacls "%ProgramData%(.*)" /inheritance:r /grant:r (.*)', line)
        if granted:
            entries = re.findall(r"\*(S-[\d-]+):\(OI\)\(CI\)(\w+)", granted[2])
            assert len(entries) == granted[2].count("*"), line
            found[granted[1]] = {who: ("OICI", SIMPLE[rights]) for who, rights in entries}
    return found


def check_package(run, drive: str, fragment: str) -> None:
    # wixl knows no permissions, and Wine would apply none.
    folders, count = re.subn(r"\s*<PermissionEx [^>]*/>", "", fragment)
    assert count == 2
    folders = re.search(r"<DirectoryRef Id=\"TARGETDIR\">(.*)</DirectoryRef>", folders, re.DOTALL)[1]
    with tempfile.TemporaryDirectory() as own:
        source, package = os.path.join(own, "folders.wxs"), os.path.join(own, "folders.msi")
        with open(source, "w", encoding="utf-8") as file:
            file.write(
                '<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">'
                '<Product Id="5B0B94B4-6F1C-4E0C-9C39-6D1C3C0C7D03" Name="Product" Language="1033" Version="1.0.0"'
                ' Manufacturer="Maker" UpgradeCode="5B0B94B4-6F1C-4E0C-9C39-6D1C3C0C7D04">'
                '<Package InstallerVersion="500" Compressed="yes"/><Property Id="ALLUSERS" Value="1"/>'
                f'<Directory Id="TARGETDIR" Name="SourceDir">{folders}</Directory>'
                '<Feature Id="All" Level="1"><ComponentRef Id="MakerFolder"/><ComponentRef Id="ProductFolder"/>'
                "</Feature></Product></Wix>"
            )
        subprocess.run(["wixl", "-o", package, source], check=True, timeout=60)
        product = os.path.join(drive, "ProgramData", "Maker", "Product")
        windows_path = "Z:" + package.replace("/", "\\")
        run("msiexec", "/i", windows_path, "/qn")
        assert os.path.isdir(product), "the package has created no folders"
        run("msiexec", "/x", windows_path, "/qn")
        assert not os.path.exists(os.path.dirname(product)), "the package has left its folders"


def check_commands(run, drive: str, lines: list[str]) -> None:
    for line in lines:
        assert line.count('"') == 2, line
        run("cmd", "/c", line.replace('"', "").replace("%ProgramData%", "C:\\ProgramData"))
    product = os.path.join(drive, "ProgramData", "Maker", "Product")
    assert os.path.isdir(product)
    os.rmdir(product)
    os.rmdir(os.path.dirname(product))


def main(document: str, wine: str = "", prefix: str = "") -> None:
    with open(document, encoding="utf-8") as file:
        text = file.read()
    fragment, lines = block(text, "xml"), block(text, "bat").splitlines()
    by_wix = folders_of_wix(ElementTree.fromstring(fragment))
    assert list(by_wix) == ["\\Maker", "\\Maker\\Product"], by_wix
    assert by_wix == folders_of_commands(lines)
    # Users may change what is in the inner folder, and put nothing into the outer one.
    write = 0x2 | 0x4 | 0x40 | 0x10000
    users = SIDS["BU"]
    assert by_wix["\\Maker"][users][1] & write == 0
    assert by_wix["\\Maker\\Product"][users][1] & 0xC0000 == 0, "users could change the permissions"
    if wine:
        environment = dict(os.environ, BRINDLEX_PREFIX=os.path.abspath(prefix))

        def run(*command: str) -> None:
            subprocess.run([wine, *command], check=True, timeout=300, env=environment)

        drive = os.path.join(prefix, "drive_c")
        run("cmd", "/c", "exit 0")
        check_package(run, drive, fragment)
        check_commands(run, drive, lines)


main(*sys.argv[1:])
print("shared_folder_test.py: done")
