#!/usr/bin/python3
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
"""Writes the bill of materials of a release's file as SPDX 2.3 JSON.

usage: bill.py source|package FILE FOLDER VERSION SECONDS BUILT_WITH

FILE is the archive or package, FOLDER what is in it, SECONDS the time that is written, and BUILT_WITH a file of lines "NAME KIND VERSION",
where KIND is tool, library or kernel. The same input gives the same bytes.
"""

import fnmatch
import hashlib
import json
import os
import re
import subprocess
import sys
import time

LICENCE = "BSD-3-Clause OR GPL-2.0-only"
COPYRIGHT = "2026 The flash_mng developers"
MAKER = "Organization: The flash_mng developers"
SITE = "https://spdx.org/spdxdocs/"
OTHER_LICENCES = {"docs/upstream/*.patch": "GPL-2.0-only"}  # as .reuse/dep5 says
LICENCE_LINE = re.compile(rb"SPDX-License-Identifier: ([A-Z][A-Za-z0-9.+ -]*[A-Za-z0-9.+])")
RELATIONS = {"tool": "BUILD_TOOL_OF", "library": "BUILD_DEPENDENCY_OF", "kernel": "TEST_DEPENDENCY_OF"}


def hashes(content):
    """SHA-1, which SPDX asks for, and SHA-256."""
    return [
        {"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
        {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()},
    ]


def content_of(path):
    with open(path, "rb") as stream:
        return stream.read()


def licence_of(name, content):
    """The licence that a file names at its top; the project's where it names none. The texts of licences are under themselves."""
    if name.startswith("LICENSES/"):
        return os.path.splitext(os.path.basename(name))[0]
    for pattern, licence in OTHER_LICENCES.items():
        if fnmatch.fnmatch(name, pattern):
            return licence
    line = LICENCE_LINE.search(b"\n".join(content.split(b"\n", 4)[:4]))
    return line.group(1).decode() if line else LICENCE


def names_in(folder):
    """The regular files of a folder, in an order that no machine changes. A link is what it leads to, which is there by itself."""
    found = []
    for place, folders, files in os.walk(folder):
        folders.sort()
        paths = [os.path.join(place, file) for file in files]
        found += [os.path.relpath(path, folder) for path in paths if not os.path.islink(path)]
    return sorted(found)


def file_entries(folder):
    entries = []
    for number, name in enumerate(names_in(folder)):
        content = content_of(os.path.join(folder, name))
        licence = licence_of(name, content)
        entries.append(
            {
                "SPDXID": f"SPDXRef-File-{number}",
                "fileName": "./" + name,
                "checksums": hashes(content),
                "licenseConcluded": licence,
                "licenseInfoInFiles": re.split(r" (?:OR|AND|WITH) ", licence),
                "copyrightText": "NOASSERTION" if name.startswith("LICENSES/") else COPYRIGHT,
            }
        )
    return entries


def verification_code(entries):
    """SPDX 2.3, section 7.9: the SHA-1 of the sorted SHA-1 of all files."""
    sums = sorted(entry["checksums"][0]["checksumValue"] for entry in entries)
    return hashlib.sha1("".join(sums).encode()).hexdigest()


def package_field(file, field):
    return subprocess.run(["dpkg-deb", "-f", file, field], check=True, capture_output=True, text=True).stdout.strip()


def described(kind, file, version, entries):
    """The package entry of what the bill is of."""
    content = content_of(file)
    if kind == "source":
        name, purpose, reference = "flash_mng", "SOURCE", f"pkg:generic/flash_mng@{version}"
    else:
        name, purpose = package_field(file, "Package"), "INSTALL"
        reference = f"pkg:deb/flash-mng/{name}@{version}?arch={package_field(file, 'Architecture')}"
    return {
        "SPDXID": "SPDXRef-Package",
        "name": name,
        "versionInfo": version,
        "packageFileName": os.path.basename(file),
        "supplier": MAKER,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": True,
        "packageVerificationCode": {"packageVerificationCodeValue": verification_code(entries)},
        "checksums": hashes(content),
        "licenseConcluded": LICENCE,
        "licenseDeclared": LICENCE,
        "licenseInfoFromFiles": sorted({name for entry in entries for name in entry["licenseInfoInFiles"]}),
        "copyrightText": COPYRIGHT,
        "primaryPackagePurpose": purpose,
        "externalRefs": [
            {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": reference},
        ],
    }


def used(number, name, version):
    """The package entry of something that it was built with."""
    return {
        "SPDXID": f"SPDXRef-Used-{number}",
        "name": name,
        "versionInfo": version,
        "supplier": "NOASSERTION",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }


def relation(one, kind, other):
    return {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}


def bill(kind, file, folder, version, seconds, built_with):
    entries = file_entries(folder)
    package = described(kind, file, version, entries)
    packages = [package]
    relations = [relation("SPDXRef-DOCUMENT", "DESCRIBES", "SPDXRef-Package")]
    relations += [relation("SPDXRef-Package", "CONTAINS", entry["SPDXID"]) for entry in entries]
    with open(built_with, encoding="utf-8") as lines:
        for number, line in enumerate(lines):
            name, sort, its_version = line.split()
            packages.append(used(number, name, its_version))
            relations.append(relation(f"SPDXRef-Used-{number}", RELATIONS[sort], "SPDXRef-Package"))
    digest = package["checksums"][1]["checksumValue"]
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": package["packageFileName"],
        "documentNamespace": f"{SITE}{package['name']}-{version}-{digest}",
        "creationInfo": {
            "created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds)),
            "creators": [MAKER, f"Tool: flash_mng-release-{version}"],
        },
        "packages": packages,
        "files": entries,
        "relationships": relations,
    }


def main(words):
    if len(words) != 7 or words[1] not in ("source", "package"):
        sys.exit(__doc__)
    kind, file, folder, version, seconds, built_with = words[1:]
    json.dump(bill(kind, file, folder, version, int(seconds), built_with), sys.stdout, indent=1, sort_keys=True)
    print()


if __name__ == "__main__":
    main(sys.argv)
