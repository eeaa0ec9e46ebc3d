#!/usr/bin/python3
"""Writes the contents of a package as SPDX 2.3 JSON: its files, and the libraries that its programs contain or need,
with version and licence. These come from dpkg's database and the linker's maps.

  sbom.py deb PACKAGE FOLDER                 FOLDER: what the package holds, unpacked
  sbom.py zip PACKAGE FOLDER MAP...          MAP: a map of the linker, one for each program
  sbom.py setup PACKAGE MAP...
  sbom.py check PACKAGE.spdx.json [FOLDER]   exit code 1 when it doesn't fit itself or the folder

PACKAGE.spdx.json is written beside PACKAGE. The time in it is SOURCE_DATE_EPOCH, so that the same package has the same
list.
"""
import datetime
import functools
import glob
import hashlib
import json
import os
import re
import subprocess
import sys
import uuid

from license_expression import get_spdx_licensing

GCC = "GPL-3.0-or-later WITH GCC-exception-3.1"
# The licences of Debian's source packages. One that is missing has to be entered: its copyright file names it.
LICENCES = {
    "asio": "BSL-1.0",
    "at-spi2-core": "LGPL-2.1-or-later",
    "gcc-12": GCC,
    "gcc-mingw-w64": GCC,
    "glib2.0": "LGPL-2.1-or-later",
    "glibc": "LGPL-2.1-or-later",
    "gtk+3.0": "LGPL-2.1-or-later",
    "libedit": "BSD-3-Clause",
    "libx11": "MIT AND MIT-open-group AND X11",
    "libz-mingw-w64": "Zlib",
    "mingw-w64": "ZPL-2.1 AND MIT AND BSD-3-Clause AND LicenseRef-Lucent",
    "nsis": "Zlib AND CPL-1.0 WITH LZMA-exception",
    "pango1.0": "LGPL-2.0-or-later",
    "pcre2": "BSD-3-Clause",
    "pugixml": "MIT",
    "wxwidgets3.2": "LGPL-2.0-or-later WITH WxWindows-exception-3.1",
    "zlib": "Zlib",
}

# Debian's folders of libraries for the machines that readelf names.
MULTIARCH = {"Advanced Micro Devices X86-64": "x86_64-linux-gnu", "AArch64": "aarch64-linux-gnu"}

# Licences for which SPDX has no name, and the line of NOTICE with which their text begins.
NAMELESS = {"LicenseRef-Lucent": "gdtoa, parts of MinGW-w64: "}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def digest(path, kind):
    with open(path, "rb") as file:
        return hashlib.new(kind, file.read()).hexdigest()


def spdx_id(text):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", text)


# --- Where libraries come from ---


@functools.cache
def debian_source(path):
    """Returns the source package, and its version, of the installed package that holds a file."""
    real = os.path.realpath(path)
    for name in (real, real.removeprefix("/usr")):  # dpkg knows files of a merged /usr by their older names
        found = subprocess.run(["dpkg-query", "-S", name], capture_output=True, text=True).stdout
        if found:
            package = found.split(": ")[0].split(",")[0]
            source, version = run("dpkg-query", "-W", "-f", "${source:Package} ${source:Version}", package).split()
            return source, version
    sys.exit(f"sbom: no package holds {path}")


def needed_by(program):
    return set(re.findall(r"NEEDED.*\[(.*)\]", run("readelf", "-d", program)))


def library(name, program):
    """Returns the path of a library that a program names."""
    machine = re.search(r"Machine: +(.*)", run("readelf", "-h", program))[1]
    paths = [f"{top}/lib/{MULTIARCH[machine]}/{name}" for top in ("", "/usr")]
    return next((path for path in paths if os.path.exists(path)), None) or sys.exit(f"sbom: {name} is not installed")


def of_headers(texts):
    """Returns the libraries that consist of headers alone. No linker names them, but the programs contain their
    names."""
    return {debian_source("/usr/include/asio.hpp")} if any(b"asio" in text for text in texts) else set()


def contents(names):
    for name in names:
        with open(name, "rb") as file:
            yield file.read()


def linked_dynamically(programs):
    """Returns the packages of the libraries that the programs name."""
    found = {debian_source(library(name, program)) for program in programs for name in needed_by(program)}
    return found | of_headers(contents(programs))


def source_of_archive(path):
    """Returns the source package of a static library, and None for our own libraries."""
    toolkit = re.search(r"/wx-([^/]*)-[0-9a-f]+/lib/(\w+)", path)
    if toolkit and toolkit[2].startswith("libwxregex"):
        text = open(path, "rb").read()
        return "pcre2", re.search(rb"\b(10\.\d+) 20\d\d-", text)[1].decode()
    if toolkit:
        return "wxwidgets3.2", toolkit[1]
    if path.endswith("/libncedl_pugixml.a"):
        header = open("/usr/src/pugixml/src/pugixml.hpp").read()
        number = int(re.search(r"define PUGIXML_VERSION (\d+)", header)[1])
        return "pugixml", f"{number // 1000}.{number % 1000 // 10}"
    return debian_source(path) if os.path.isabs(path) else None


def linked_statically(maps):
    found = set()
    for name in maps:
        text = open(name, encoding="utf-8", errors="replace").read()
        found |= {source_of_archive(path) for path in re.findall(r"^(\S+\.a)\(", text, re.M)}
    return (found | of_headers(contents(maps))) - {None}


# --- The list ---


def extracted(reference):
    """Returns the text of NOTICE from the line that names the licence to the next rule."""
    with open(os.path.join(os.path.dirname(__file__), "../NOTICE"), encoding="utf-8") as file:
        text = file.read()
    begin = text.index("\n" + NAMELESS[reference])
    return {"licenseId": reference, "extractedText": text[begin:].split("\n----")[0].strip()}


def file_entry(folder, path):
    name = "./" + os.path.relpath(path, folder)
    return {
        "SPDXID": spdx_id("File-" + name[2:]),
        "fileName": name,
        "checksums": [{"algorithm": kind.upper(), "checksumValue": digest(path, kind)} for kind in ("sha1", "sha256")],
        "licenseConcluded": "CC0-1.0" if name.endswith(".metainfo.xml") else "MIT",
        "copyrightText": "NOASSERTION",
    }


def package_entry(name, version, licence, **more):
    return {
        "SPDXID": spdx_id("Package-" + name),
        "name": name,
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
        **more,
    }


def verification_code(files):
    sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return {"packageVerificationCodeValue": hashlib.sha1("".join(sums).encode()).hexdigest()}


def purl(name, version):
    """Returns the source package's identifier. pcre2 comes with the toolkit and not from a package of Debian."""
    place = f"{name}@{version}".replace("+", "%2B")
    return f"pkg:generic/{place}" if name == "pcre2" else f"pkg:deb/debian/{place}?arch=source"


def document(package, name, version, folder, libraries, relation):
    paths = [] if folder is None else [
        path for path in glob.glob(folder + "/**", recursive=True, include_hidden=True) if os.path.isfile(path)]
    files = sorted((file_entry(folder, path) for path in paths), key=lambda entry: entry["fileName"])
    analysed = {"filesAnalyzed": True, "packageVerificationCode": verification_code(files)} if files else {}
    sha256 = digest(package, "sha256")
    main = package_entry(name, version, "MIT", packageFileName=os.path.basename(package),
                         supplier="Organization: the ncedl authors",
                         checksums=[{"algorithm": "SHA256", "checksumValue": sha256}], **analysed)
    others = [
        package_entry(library, number, LICENCES[library], supplier="Organization: Debian", externalRefs=[{
            "referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
            "referenceLocator": purl(library, number)}])
        for library, number in sorted(libraries)]
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", main["SPDXID"])]
    relations += [(main["SPDXID"], "CONTAINS", file["SPDXID"]) for file in files]
    relations += [(main["SPDXID"], "CONTAINS" if other["name"] == "nsis" else relation, other["SPDXID"])
                  for other in others]
    created = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": os.path.basename(package),
        "documentNamespace": "urn:uuid:" + str(uuid.uuid5(uuid.NAMESPACE_OID, sha256)),
        "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                         "creators": ["Organization: the ncedl authors"]},
        "packages": [main, *others],
        "files": files,
        "hasExtractedLicensingInfos": [extracted(reference) for reference in sorted(NAMELESS)
                                       if any(reference in other["licenseConcluded"] for other in others)],
        "relationships": [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b}
                          for a, kind, b in relations],
    }


def write(package, *what):
    with open(package + ".spdx.json", "w", encoding="utf-8") as file:
        json.dump(document(package, *what), file, indent=1)
        file.write("\n")


def write_deb(package, folder):
    programs = glob.glob(folder + "/usr/bin/*")
    name, version = (run("dpkg-deb", "-f", package, field).strip() for field in ("Package", "Version"))
    write(package, name, version, folder, linked_dynamically(programs), "DYNAMIC_LINK")


def version_of(package):
    return re.search(r"-(\d+\.\d+\.\d+)-", os.path.basename(package))[1]


def write_zip(package, folder, *maps):
    mapped = {os.path.basename(name).removesuffix(".map") for name in maps}
    for path in glob.glob(folder + "/*.exe"):
        if os.path.basename(path) not in mapped:
            sys.exit(f"sbom: the linker's map of {os.path.basename(path)} is missing; build it anew")
    write(package, "ncedl", version_of(package), folder, linked_statically(maps), "STATIC_LINK")


def write_setup(package, *maps):
    installer = debian_source("/usr/share/nsis/Stubs/lzma_solid-amd64-unicode")[1]
    write(package, "ncedl", version_of(package), None, linked_statically(maps) | {("nsis", installer)}, "STATIC_LINK")


# --- The check ---


def licence_faults(expression, extracted_infos):
    for info in extracted_infos:
        expression = expression.replace(info["licenseId"], "MIT")
    for error in get_spdx_licensing().validate(expression).errors:
        yield f"{expression}: {error}"


def faults_of(path, folder=None):
    with open(path, encoding="utf-8") as file:
        told = json.load(file)
    package = path.removesuffix(".spdx.json")
    main = told["packages"][0]
    known = [entry["SPDXID"] for entry in [told, *told["packages"], *told["files"]]]
    if len(set(known)) != len(known):
        yield "an identifier stands for two things"
    for relation in told["relationships"]:
        if not {relation["spdxElementId"], relation["relatedSpdxElement"]} <= set(known):
            yield f"a relation to what is not listed: {relation}"
    if main["checksums"][0]["checksumValue"] != digest(package, "sha256"):
        yield "the package has another checksum"
    for entry in told["packages"]:
        if not entry["versionInfo"] or entry["supplier"] == "NOASSERTION":
            yield f"{entry['name']} has no version or supplier"
    for entry in [*told["packages"], *told["files"]]:
        yield from licence_faults(entry["licenseConcluded"], told["hasExtractedLicensingInfos"])
    # The list of the installer has no files. A package with a program has libraries.
    runs = any("/bin/" in file["fileName"] or file["fileName"].endswith(".exe") for file in told["files"])
    if len(told["packages"]) < 4 and (runs or not told["files"]):
        yield "libraries are missing"
    if folder is None:
        return
    there = {"./" + os.path.relpath(name, folder): digest(name, "sha256")
             for name in glob.glob(folder + "/**", recursive=True, include_hidden=True) if os.path.isfile(name)}
    listed = {entry["fileName"]: entry["checksums"][1]["checksumValue"] for entry in told["files"]}
    for name in sorted(dict(there.items() ^ listed.items())):
        yield f"{name} is not listed as it is"


def check(path, folder=None):
    faults = list(faults_of(path, folder))
    for fault in faults:
        print(f"{os.path.basename(path)}: {fault}")
    sys.exit(1 if faults else 0)


COMMANDS = {"deb": write_deb, "zip": write_zip, "setup": write_setup, "check": check}

if __name__ == "__main__":
    if len(sys.argv) < 3 or sys.argv[1] not in COMMANDS:
        sys.exit(__doc__)
    COMMANDS[sys.argv[1]](*sys.argv[2:])
