"""What the packages contain: checksums that hold, notices of every part, an SBOM that is valid, the help where
the type library says that it is.

usage: content_test.py PACKAGE_FOLDER VERSION
"""

import hashlib
import io
import json
import os
import re
import sys
import zipfile

import jsonschema

FOLDER, VERSION = sys.argv[1], sys.argv[2]
NAMES = {
    f"Brindlex-{VERSION}.zip", f"Brindlex-{VERSION}-x86.msi", f"Brindlex-{VERSION}-x64.msi",
    f"Brindlex-{VERSION}.spdx.json", f"brindlex-{VERSION}-linux-amd64.tar.gz", f"brindlex_{VERSION}_amd64.deb",
    "SHA256SUMS",
}
# SPDX 2.3: what a document must have, and the words that it may use where this one uses any.
IDENTIFIER = {"type": "string", "pattern": "^SPDXRef-[A-Za-z0-9.-]+$"}
LICENCE = {"type": "string", "pattern": r"^(NONE|NOASSERTION|\(?[A-Za-z0-9.+-]+( (AND|OR|WITH) [A-Za-z0-9.+-]+)*\)?)$"}
DOCUMENT = {
    "type": "object",
    "required": ["spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace", "creationInfo"],
    "properties": {
        "spdxVersion": {"const": "SPDX-2.3"},
        "dataLicense": {"const": "CC0-1.0"},
        "SPDXID": {"const": "SPDXRef-DOCUMENT"},
        "documentNamespace": {"type": "string", "pattern": "^https?://[^#]+$"},
        "creationInfo": {
            "type": "object", "required": ["created", "creators"],
            "properties": {
                "created": {"type": "string", "pattern": r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$"},
                "creators": {"type": "array", "minItems": 1, "items": {"pattern": "^(Person|Organization|Tool): .+"}},
            },
        },
        "packages": {"type": "array", "items": {
            "type": "object", "required": ["SPDXID", "name", "downloadLocation"],
            "properties": {
                "SPDXID": IDENTIFIER, "filesAnalyzed": {"type": "boolean"},
                "licenseConcluded": LICENCE, "licenseDeclared": LICENCE,
                "supplier": {"pattern": "^(NOASSERTION|(Person|Organization): .+)$"},
                "externalRefs": {"items": {"required": ["referenceCategory", "referenceType", "referenceLocator"],
                                           "properties": {"referenceCategory": {"enum": [
                                               "SECURITY", "PACKAGE-MANAGER", "PERSISTENT-ID", "OTHER"]}}}},
            },
        }},
        "files": {"type": "array", "items": {
            "type": "object", "required": ["SPDXID", "fileName", "checksums"],
            "properties": {
                "SPDXID": IDENTIFIER, "fileName": {"pattern": r"^\./"},
                "checksums": {"contains": {"properties": {"algorithm": {"const": "SHA1"}}}, "items": {
                    "required": ["algorithm", "checksumValue"],
                    "properties": {"checksumValue": {"pattern": "^[0-9a-f]+$"}}}},
            },
        }},
        "relationships": {"type": "array", "items": {
            "type": "object", "required": ["spdxElementId", "relationshipType", "relatedSpdxElement"],
            "properties": {"relationshipType": {"enum": ["DESCRIBES", "CONTAINS", "STATIC_LINK"]}},
        }},
        "hasExtractedLicensingInfos": {"type": "array", "items": {
            "type": "object", "required": ["licenseId", "extractedText"],
            "properties": {"licenseId": {"pattern": "^LicenseRef-[A-Za-z0-9.-]+$"}},
        }},
    },
}


def read(name: str) -> bytes:
    with open(os.path.join(FOLDER, name), "rb") as file:
        return file.read()


def check_sums(sums: str, content: dict[str, bytes], what: str) -> None:
    listed = dict(reversed(line.split("  ", 1)) for line in sums.splitlines())
    assert set(listed) == set(content) - {"SHA256SUMS"}, f"{what}: {set(listed) ^ set(content)}"
    for name, digest in listed.items():
        assert hashlib.sha256(content[name]).hexdigest() == digest, f"{what}: {name}"


def unzipped() -> dict[str, bytes]:
    with zipfile.ZipFile(io.BytesIO(read(f"Brindlex-{VERSION}.zip"))) as archive:
        return {name.partition("/")[2]: archive.read(name) for name in archive.namelist()}


def check_zip(content: dict[str, bytes]) -> None:
    check_sums(content["SHA256SUMS"].decode(), content, "zip")
    for bitness in ("x86", "x64"):
        for name in ("Brindlex.dll", "brindlex.exe", "Brindlex.chm", "Brindlex.manifest", "verify/interface.exe"):
            assert content.get(f"{bitness}/{name}"), f"the zip lacks {bitness}/{name}"
        assert b"B\0r\0" in content[f"{bitness}/Brindlex.dll"]
    for name in ("README.md", "CHANGELOG.md", "SECURITY.md", "THIRD-PARTY-NOTICES.txt", "verify/verify.cmd",
                 "docs/html/index.html", "docs/html/search.js", "examples/books.vbs"):
        assert content.get(name), f"the zip lacks {name}"
    assert b"Brindlex.chm" in content["Brindlex.tlb"], "the type library does not name its help"
    for name, text in content.items():
        assert b"/build/" not in text or not name.endswith((".h", ".c", ".dll")), f"{name} names the place of its build"


def check_notices(text: str, parts: list[str]) -> None:
    for part in parts:
        assert f"\n{part}\n" in text, f"no notice of {part}"
    for phrase in ("GNU GENERAL PUBLIC LICENSE", "GCC RUNTIME LIBRARY EXCEPTION",
                   "Lockless Inc.", "Redistributions in binary form", "University of Cincinnati", "Niels Lohmann",
                   "Victor Zverovich", "UNICODE, INC. LICENSE"):
        assert phrase in text, f"the notices lack {phrase!r}"


def check_sbom(content: dict[str, bytes]) -> list[str]:
    """Returns the names of the third-party parts that are in the Windows packages."""
    document = json.loads(read(f"Brindlex-{VERSION}.spdx.json"))
    jsonschema.validate(document, DOCUMENT)
    elements = [document, *document["packages"], *document["files"]]
    names = {element["SPDXID"]: element.get("name", "") for element in elements}
    assert len(names) == len(elements), "two elements have one id"
    assert {"SPDXRef-DOCUMENT"} | {r["spdxElementId"] for r in document["relationships"]} <= set(names)
    assert {r["relatedSpdxElement"] for r in document["relationships"]} <= set(names)
    files = {entry["fileName"]: entry for entry in document["files"]}
    digests = {sum_["checksumValue"] for entry in files.values() for sum_ in entry["checksums"]}
    shipped = [content[f"{bitness}/{name}"] for bitness in ("x86", "x64") for name in ("Brindlex.dll", "brindlex.exe")]
    for binary in shipped:
        assert hashlib.sha256(binary).hexdigest() in digests, "the SBOM is of other files"
    used = {licence for package in document["packages"] for licence in
            re.findall(r"LicenseRef-[\w.-]+", package["licenseDeclared"])}
    assert used == {info["licenseId"] for info in document["hasExtractedLicensingInfos"]}
    ids = {entry["SPDXID"] for name, entry in files.items() if "linux" not in name}
    linked = {r["relatedSpdxElement"] for r in document["relationships"]
              if r["relationshipType"] == "STATIC_LINK" and r["spdxElementId"] in ids}
    assert len(linked) >= 7, linked
    return [names[own] for own in linked]


def main() -> None:
    assert set(os.listdir(FOLDER)) == NAMES, set(os.listdir(FOLDER)) ^ NAMES
    check_sums(read("SHA256SUMS").decode(), {name: read(name) for name in NAMES}, "packages")
    content = unzipped()
    check_zip(content)
    check_notices(content["THIRD-PARTY-NOTICES.txt"].decode(), check_sbom(content))
    print(f"{len(NAMES)} files as they should be, {len(content)} in the zip")


main()
