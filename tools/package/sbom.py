"""The software bill of materials: SPDX 2.3, as JSON."""

import hashlib
import json
import os

from parts import BINARIES, EXTRACTED, MINGW, PARTS, Part, Text

CREATED = "2020-01-01T00:00:00Z"
LICENCE_OF_THE_PROJECT = "NONE"


def identifier(text: str) -> str:
    return "SPDXRef-" + "".join(c if c.isalnum() or c in ".-" else "-" for c in text)


def part_package(part: Part) -> dict:
    package = {
        "SPDXID": identifier(part.name),
        "name": part.name,
        "versionInfo": part.version,
        "downloadLocation": "NOASSERTION",
        "homepage": part.homepage,
        "filesAnalyzed": False,
        "licenseConcluded": part.licence,
        "licenseDeclared": part.licence,
        "copyrightText": "\n".join(line for line in part.texts[0].read(part_root()).split("\n")
                                   if "opyright" in line)[:1000] or "NOASSERTION",
    }
    if part.package:
        reference = f"pkg:deb/debian/{part.package}@{part.version.replace('+', '%2B')}"
        package["externalRefs"] = [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                                    "referenceLocator": reference}]
    return package


def part_root() -> str:
    return os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))


def file_entry(name: str, path: str) -> dict:
    with open(path, "rb") as file:
        content = file.read()
    return {
        "SPDXID": identifier("file-" + name),
        "fileName": "./" + "/".join((name, os.path.basename(path))),
        "fileTypes": ["BINARY"],
        "checksums": [
            {"algorithm": algorithm, "checksumValue": hashlib.new(algorithm.lower(), content).hexdigest()}
            for algorithm in ("SHA1", "SHA256")
        ],
        "licenseConcluded": "NOASSERTION",
        "licenseInfoInFiles": ["NOASSERTION"],
        "copyrightText": "NOASSERTION",
    }


def relation(first: str, kind: str, second: str) -> dict:
    return {"spdxElementId": first, "relationshipType": kind, "relatedSpdxElement": second}


def sbom(version: str, files: dict[str, str]) -> str:
    """The document for the binaries `files`: the name in parts.BINARIES and the path of each."""
    entries = {name: file_entry(name, path) for name, path in files.items()}
    product = {
        "SPDXID": "SPDXRef-Brindlex", "name": "Brindlex", "versionInfo": version,
        "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
        "licenseConcluded": LICENCE_OF_THE_PROJECT, "licenseDeclared": LICENCE_OF_THE_PROJECT,
        "copyrightText": "NOASSERTION", "supplier": "Organization: The Brindlex developers",
    }
    relations = [relation("SPDXRef-DOCUMENT", "DESCRIBES", product["SPDXID"])]
    for name, entry in entries.items():
        relations.append(relation(product["SPDXID"], "CONTAINS", entry["SPDXID"]))
        relations += [relation(entry["SPDXID"], "STATIC_LINK", identifier(part.name))
                      for part in PARTS if name in part.binaries]
    content = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"Brindlex-{version}",
        "creationInfo": {"created": CREATED, "creators": ["Tool: Brindlex package"]},
        "packages": [product, *(part_package(part) for part in PARTS)],
        "files": list(entries.values()),
        "hasExtractedLicensingInfos": [{
            "licenseId": EXTRACTED, "name": "Licences of the mingw-w64 run time",
            "extractedText": Text(MINGW).read("/"),
        }],
        "relationships": relations,
    }
    digest = hashlib.sha256(json.dumps(content, sort_keys=True).encode()).hexdigest()
    content["documentNamespace"] = f"https://spdx.org/spdxdocs/Brindlex-{version}-{digest[:32]}"
    assert set(files) <= set(BINARIES)
    return json.dumps(content, indent=2, ensure_ascii=False) + "\n"
