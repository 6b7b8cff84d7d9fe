#!/usr/bin/python3
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
"""Says what is wrong with a bill of materials, one line each.

usage: bill_check.py BILL FILE FOLDER [REUSE]

What SPDX 2.3 demands of a document is checked by rules written here from its text; licence expressions by the library of Debian's
python3-license-expression, against the list of SPDX; the files against FOLDER, and against REUSE where it is given, which is what
"reuse spdx" says of the same folder: a second program's files, checksums and licences.
"""

import hashlib
import json
import os
import re
import sys

from license_expression import get_spdx_licensing

NO_LICENCE = ("NOASSERTION", "NONE")
ALGORITHM_LENGTHS = {"SHA1": 40, "SHA256": 64}
RELATIONS = ("DESCRIBES", "CONTAINS", "BUILD_TOOL_OF", "BUILD_DEPENDENCY_OF", "TEST_DEPENDENCY_OF")
PURPOSES = ("SOURCE", "INSTALL")
DEMANDED = {
    "document": ("spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace", "creationInfo", "packages", "relationships"),
    "package": ("SPDXID", "name", "downloadLocation"),
    "file": ("SPDXID", "fileName", "checksums"),
    "relation": ("spdxElementId", "relationshipType", "relatedSpdxElement"),
}
LICENSING = get_spdx_licensing()


def missing(kind, entry):
    for field in DEMANDED[kind]:
        if not entry.get(field):
            yield f"{kind} {entry.get('SPDXID', '?')} has no {field}"


def of_expression(where, text):
    if text not in NO_LICENCE:
        for error in LICENSING.validate(text).errors:
            yield f"{where}: {error}"


def of_checksums(where, entry):
    for checksum in entry.get("checksums", []):
        if not re.fullmatch("[0-9a-f]{%d}" % ALGORITHM_LENGTHS.get(checksum["algorithm"], 0), checksum["checksumValue"]):
            yield f"{where}: {checksum['algorithm']} is {checksum['checksumValue']!r}"
    if "SHA1" not in [checksum["algorithm"] for checksum in entry.get("checksums", [])]:
        yield f"{where}: no SHA1"


def of_document(bill):
    yield from missing("document", bill)
    if bill.get("spdxVersion") != "SPDX-2.3" or bill.get("dataLicense") != "CC0-1.0" or bill.get("SPDXID") != "SPDXRef-DOCUMENT":
        yield "the document is not SPDX 2.3 under CC0-1.0"
    if not re.fullmatch(r"[a-z]+://[^#\s]+", bill.get("documentNamespace", "")):
        yield "the name space is no absolute address"
    creation = bill.get("creationInfo", {})
    if not re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", creation.get("created", "")):
        yield "the time of creation is none"
    creators = creation.get("creators", [])
    if not creators or not all(re.match("(Person|Organization|Tool): .", creator) for creator in creators):
        yield "the creators are not named as they should be"


def of_identifiers(bill):
    names = ["SPDXRef-DOCUMENT"] + [entry.get("SPDXID") for entry in bill["packages"] + bill.get("files", [])]
    for name in names:
        if not re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", name or ""):
            yield f"{name} is no identifier"
    if len(set(names)) != len(names):
        yield "two entries have one identifier"
    for link in bill["relationships"]:
        yield from missing("relation", link)
        if link["relationshipType"] not in RELATIONS:
            yield f"{link['relationshipType']} is no relation that is used here"
        for end in (link["spdxElementId"], link["relatedSpdxElement"]):
            if end not in names:
                yield f"a relation leads to {end}, which is not there"
    contained = {link["relatedSpdxElement"] for link in bill["relationships"] if link["relationshipType"] == "CONTAINS"}
    for entry in bill.get("files", []):
        if entry["SPDXID"] not in contained:
            yield f"{entry['fileName']} is contained in nothing"


def of_packages(bill, file):
    for package in bill["packages"]:
        yield from missing("package", package)
        for field in ("licenseConcluded", "licenseDeclared"):
            yield from of_expression(package["name"], package.get(field, "NOASSERTION"))
        if package.get("filesAnalyzed", True) and "packageVerificationCode" not in package:
            yield f"{package['name']} has files and no verification code"
    package = bill["packages"][0]
    yield from of_checksums(package["name"], package)
    if package.get("primaryPackagePurpose") not in PURPOSES:
        yield "the purpose is none"
    if package.get("packageFileName") != os.path.basename(file):
        yield f"the bill is of {package.get('packageFileName')}"
    with open(file, "rb") as stream:
        content = stream.read()
    for checksum in package["checksums"]:
        if hashlib.new(checksum["algorithm"], content).hexdigest() != checksum["checksumValue"]:
            yield f"{file} has another {checksum['algorithm']}"
    sums = sorted(entry["checksums"][0]["checksumValue"] for entry in bill.get("files", []))
    if hashlib.sha1("".join(sums).encode()).hexdigest() != package["packageVerificationCode"]["packageVerificationCodeValue"]:
        yield "the verification code is not that of the files"
    if not any(entry["name"].startswith(("g++", "gcc")) for entry in bill["packages"]):
        yield "no compiler is named"
    if not any(entry["name"] == "linux" for entry in bill["packages"]):
        yield "no kernel is named"


def of_files(bill, folder):
    there = set()
    for place, _, files in os.walk(folder):
        paths = [os.path.join(place, name) for name in files]
        there |= {"./" + os.path.relpath(path, folder) for path in paths if not os.path.islink(path)}
    for entry in bill.get("files", []):
        yield from missing("file", entry)
        yield from of_checksums(entry["fileName"], entry)
        yield from of_expression(entry["fileName"], entry["licenseConcluded"])
        if entry["fileName"] not in there:
            yield f"{entry['fileName']} is not there"
            continue
        there.remove(entry["fileName"])
        with open(os.path.join(folder, entry["fileName"]), "rb") as stream:
            content = stream.read()
        for checksum in entry["checksums"]:
            if hashlib.new(checksum["algorithm"], content).hexdigest() != checksum["checksumValue"]:
                yield f"{entry['fileName']} has another {checksum['algorithm']}"
    for name in sorted(there):
        yield f"{name} is not in the bill"


def second_opinion(text):
    """What "reuse spdx" says: for each file its SHA-1 and its licences."""
    found = {}
    for paragraph in text.split("\n\n"):
        fields = re.findall(r"^(FileName|FileChecksum|LicenseInfoInFile): (.*)$", paragraph, re.M)
        name = next((value for field, value in fields if field == "FileName"), None)
        if name:
            checksum = next(value for field, value in fields if field == "FileChecksum").replace("SHA1: ", "")
            found[name] = (checksum, {value for field, value in fields if field == "LicenseInfoInFile"})
    return found


def of_second_opinion(bill, text):
    """reuse says nothing of texts of licences, of its own file, and of empty files."""
    told = second_opinion(text)
    empty = hashlib.sha1(b"").hexdigest()
    for entry in bill["files"]:
        name = entry["fileName"]
        if name.startswith("./LICENSES/") or name == "./.reuse/dep5" or entry["checksums"][0]["checksumValue"] == empty:
            continue
        if name not in told:
            yield f"reuse does not know {name}"
            continue
        checksum, licences = told.pop(name)
        if checksum != entry["checksums"][0]["checksumValue"] or licences != set(entry["licenseInfoInFiles"]):
            yield f"reuse says of {name}: {checksum}, {', '.join(sorted(licences))}"
    for name in told:
        yield f"reuse knows {name}, which is not in the bill"


def main(words):
    if len(words) not in (4, 5):
        sys.exit(__doc__)
    with open(words[1], encoding="utf-8") as stream:
        bill = json.load(stream)
    findings = [*of_document(bill), *of_identifiers(bill), *of_packages(bill, words[2]), *of_files(bill, words[3])]
    if len(words) == 5:
        with open(words[4], encoding="utf-8") as stream:
            findings += of_second_opinion(bill, stream.read())
    print("\n".join(findings) or f"{len(bill['files'])} files")
    sys.exit(bool(findings))


if __name__ == "__main__":
    main(sys.argv)
