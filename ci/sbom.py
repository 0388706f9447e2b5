#!/usr/bin/env python3
"""sbom.py BUILD: writes a bill of materials (SPDX 2.3) of each component that a build installs, into BUILD/sbom.

It lists the component's files with their checksums, the Debian packages that its binaries load, and those whose headers
are compiled into it. Run it before cpack; the packages then contain it.
"""
import hashlib
import json
import os
import re
import subprocess
import sys
import tempfile
from datetime import datetime, timezone
from pathlib import Path

HEADERS_OF = {"command": ["libcli11-dev", "nlohmann-json3-dev"], "kit": ["nlohmann-json3-dev"]}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def package_of(path):
    """The Debian package that owns a library; its files below /usr are also known without /usr."""
    for name in (path, path.removeprefix("/usr"), "/usr" + path):
        found = subprocess.run(["dpkg", "-S", name], capture_output=True, text=True)
        if found.returncode == 0:
            return found.stdout.split(":")[0]
    return None


def loaded_by(binary, own):
    """The packages of the libraries that a binary names itself, and not those that these load in turn."""
    named = re.findall(r"NEEDED\s+(\S+)", run("objdump", "-p", binary))
    places = dict(re.findall(r"(\S+) => (\S+)", run("ldd", binary)))
    libraries = [places[name] for name in named if name in places and not Path(places[name]).is_relative_to(own)]
    return {package_of(os.path.realpath(library)) for library in libraries} - {None}


def is_loadable(path):
    with open(path, "rb") as file:
        head = file.read(18)
    return head[:4] == b"\x7fELF" and head[16] == 3  # a shared object, or a program that can be moved


def material(identifier, name, version):
    return {
        "SPDXID": identifier,
        "name": name,
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }


def bill(build, component, version, time):
    with tempfile.TemporaryDirectory() as root:
        run("cmake", "--install", str(build), "--component", component, "--prefix", root)
        files = sorted(path for path in Path(root).rglob("*") if path.is_file() and not path.is_symlink())
        files = [path for path in files if not path.name.endswith(".spdx.json")]
        own = f"SPDXRef-{component}"
        document = {
            "spdxVersion": "SPDX-2.3",
            "dataLicense": "CC0-1.0",
            "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"strata-l3-{component}-{version}",
            "creationInfo": {
                "created": datetime.fromtimestamp(time, timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
                "creators": ["Tool: strata-l3-ci-sbom"],
            },
            "packages": [material(own, f"strata-l3-{component}", version)],
            "files": [],
            "relationships": [["SPDXRef-DOCUMENT", "DESCRIBES", own]],
        }
        needed = set()
        for number, path in enumerate(files):
            # Debian's tools strip binaries on their way into a package, so only what stays as it is has a checksum.
            if is_loadable(path):
                needed |= loaded_by(path, build)
            elif path.suffix != ".a":
                identifier = f"SPDXRef-file-{number}"
                document["files"].append({
                    "SPDXID": identifier,
                    "fileName": "./usr/" + str(path.relative_to(root)),
                    "checksums": [{"algorithm": a.upper(), "checksumValue": hashlib.new(a, path.read_bytes()).hexdigest()}
                                  for a in ("sha1", "sha256")],
                    "licenseConcluded": "NOASSERTION",
                    "copyrightText": "NOASSERTION",
                })
                document["relationships"].append([own, "CONTAINS", identifier])
    for kind, packages in (("DEPENDS_ON", needed), ("STATIC_LINK", HEADERS_OF.get(component, []))):
        for package in sorted(packages):
            identifier = "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", package)
            installed = run("dpkg-query", "-W", "-f", "${Version}\n", package).splitlines()[0]
            document["packages"].append(material(identifier, package, installed))
            document["relationships"].append([own, kind, identifier])
    document["relationships"] = [
        {"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b}
        for a, kind, b in document["relationships"]]
    text = json.dumps(document, indent=1, sort_keys=True) + "\n"
    namespace = hashlib.sha256(text.encode()).hexdigest()
    document["documentNamespace"] = f"urn:strata-l3:spdx:{component}:{version}:{namespace}"
    return json.dumps(document, indent=1, sort_keys=True) + "\n"


def main():
    build = Path(sys.argv[1]).resolve()
    config = (build / "CPackConfig.cmake").read_text()
    version = re.search(r'CPACK_PACKAGE_VERSION "(.*)"', config).group(1)
    components = re.search(r'CPACK_COMPONENTS_ALL "(.*)"', config).group(1).split(";")
    out = build / "sbom"
    out.mkdir(exist_ok=True)
    time = int((build / "package-time").read_text())
    for component in components:
        (out / f"{component}.spdx.json").write_text(bill(build, component, version, time))


main()
