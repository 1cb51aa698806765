"""The bill of materials of an archive, in CycloneDX 1.6 (https://cyclonedx.org/docs/1.6/json/).

The same archive has the same bill: its serial number comes from the archive, and there is no time in it.
"""

import json
import plistlib
import uuid

from distribution import archive, tree

CONTENTS = f"{tree.APPLICATION}/Contents"
CLIENT = f"{CONTENTS}/Resources/Quillmark.app"
HELPER_TOOLS = f"{CONTENTS}/Library/LaunchServices/"
GUARD_PARTS = 4  # components/WGComponents/<macOS>/QuillmarkGuard


def hashes(digest):
    return [{"alg": "SHA-256", "content": digest}]


def version(bundle):
    """What Info.plist names, as the keyword of a component; nothing if it names none."""
    information = plistlib.loads((bundle / "Contents/Info.plist").read_bytes())
    found = information.get("CFBundleShortVersionString") or information.get("CFBundleVersion")
    return {"version": str(found)} if found else {}


def owner(name):
    """The component that a file belongs to: a bundle or a guard with all that lies in it, or the file alone."""
    parts = name.split("/")
    if name.startswith(f"{CLIENT}/"):
        return CLIENT
    if parts[:2] == [tree.COMPONENTS, "WGComponents"] and len(parts) > GUARD_PARTS:
        return "/".join(parts[:GUARD_PARTS])
    if parts[0] == tree.COMPONENTS or name.startswith(HELPER_TOOLS) or name.endswith(".tunnelblick.sh"):
        return name
    return tree.APPLICATION


def component(distribution, place, files):
    described = {"bom-ref": place, "name": place.rpartition("/")[2]}
    if list(files) == [place]:
        kind = "application" if place.startswith(HELPER_TOOLS) else "file"
        return {"type": kind, **described, "hashes": hashes(files[place])}
    if place.endswith(".app"):
        described |= version(distribution / place)
    inside = [{"type": "file", "bom-ref": name, "name": name.removeprefix(f"{place}/"), "hashes": hashes(digest)}
              for name, digest in files.items()]
    return {"type": "application", **described, "components": inside}


def of(distribution, packed):
    """The bill as text: the archive, and every file in it by the component that it belongs to."""
    owned = {}
    for entry in tree.entries(distribution):
        if not (entry.is_folder or entry.is_link):
            files = owned.setdefault(owner(entry.name), {})
            files[entry.name] = archive.digest(distribution / entry.name)
    digest = archive.digest(packed)
    bill = {
        "$schema": "http://cyclonedx.org/schema/bom-1.6.schema.json",
        "bomFormat": "CycloneDX",
        "specVersion": "1.6",
        "serialNumber": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_URL, f'urn:sha256:{digest}')}",
        "version": 1,
        "metadata": {"component": {
            "type": "application",
            "bom-ref": packed.name,
            "name": archive.FOLDER,
            **version(distribution / tree.APPLICATION),
            "hashes": hashes(digest),
            "externalReferences": [{"type": "distribution", "url": packed.name, "hashes": hashes(digest)}],
        }},
        "components": [component(distribution, place, files) for place, files in sorted(owned.items())],
        "dependencies": [{"ref": packed.name, "dependsOn": sorted(owned)}],
    }
    return json.dumps(bill, indent=2, ensure_ascii=False) + "\n"
