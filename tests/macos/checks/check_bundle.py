#!/usr/bin/env python3
"""Checks an app extension as its host would look at it.

    check_bundle.py BUNDLE ENTITLEMENTS

Its layout, its property list and its entitlements; on a Mac, of the built and signed bundle.
"""

import plistlib
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
FINDER_SYNC = "com.apple.FinderSync"
READ_ALL = "com.apple.security.temporary-exception.files.absolute-path.read-only"
USAGES = ("DesktopFolder", "DocumentsFolder", "DownloadsFolder", "NetworkVolumes",
          "RemovableVolumes")
KNOWN_ENTITLEMENTS = {
    "com.apple.security.app-sandbox", "com.apple.security.application-groups", READ_ALL,
    "com.apple.application-identifier", "com.apple.developer.team-identifier",
}


def images():
    """The names of all images of the app extension."""
    return sorted(path.stem for path in (ROOT / "resources/images").glob("*.svg"))


def principal_classes():
    """The Objective-C classes of the sources that the Finder could make."""
    text = (ROOT / "src/platform/macos/KPKelpieSync.h").read_text()
    return re.findall(r"@interface (\w+) : FIFinderSync\b", text)


def property_list_faults(info):
    """What is wrong with the property list of the bundle."""
    wanted = {
        "CFBundleExecutable": "KelpieSync",
        "CFBundlePackageType": "XPC!",
        "CFBundleInfoDictionaryVersion": "6.0",
        "CFBundleSupportedPlatforms": ["MacOSX"],
        "LSUIElement": True,
        "NSPrincipalClass": "NSApplication",
    }
    faults = [f"{key} is {info.get(key)!r}, not {value!r}"
              for key, value in wanted.items() if info.get(key) != value]
    for key in ("CFBundleVersion", "CFBundleShortVersionString", "LSMinimumSystemVersion"):
        if not re.fullmatch(r"\d+(\.\d+){0,2}", str(info.get(key))):
            faults.append(f"{key} is {info.get(key)!r}, no version")
    if not re.fullmatch(r"[A-Za-z0-9-]+(\.[A-Za-z0-9-]+){2,}", info.get("CFBundleIdentifier", "")):
        faults.append(f"CFBundleIdentifier is {info.get('CFBundleIdentifier')!r}")
    extension = info.get("NSExtension", {})
    if extension.get("NSExtensionPointIdentifier") != FINDER_SYNC:
        faults.append("NSExtension names another extension point")
    if extension.get("NSExtensionPrincipalClass") not in principal_classes():
        faults.append("NSExtension names a class that there is not")
    if extension.get("NSExtensionAttributes") != {}:
        faults.append("NSExtensionAttributes is not an empty dictionary")
    faults += [f"no NS{usage}UsageDescription" for usage in USAGES
               if len(info.get(f"NS{usage}UsageDescription", "")) < 20]
    faults += [f"{key} was not filled in" for key, value in info.items() if "@" in str(value)]
    return faults


def entitlement_faults(entitlements):
    """What is wrong with the entitlements."""
    faults = [f"the entitlement {key} is none of ours"
              for key in entitlements if key not in KNOWN_ENTITLEMENTS]
    if entitlements.get("com.apple.security.app-sandbox") is not True:
        faults.append("no sandbox: the system would not load it")
    groups = entitlements.get("com.apple.security.application-groups")
    if not isinstance(groups, list) or not groups or not all(
            isinstance(group, str) and re.fullmatch(r"[\w.-]+", group) for group in groups):
        faults.append(f"the application groups are {groups!r}")
    if entitlements.get(READ_ALL, ["/"]) != ["/"]:
        faults.append(f"{READ_ALL} is {entitlements[READ_ALL]!r}")
    return faults


def layout_faults(files):
    """What is missing of the files of the bundle, given by their paths below it."""
    wanted = ["Contents/Info.plist", "Contents/MacOS/KelpieSync"]
    for name in images():
        wanted += [f"Contents/Resources/{name}.png", f"Contents/Resources/{name}@2x.png"]
    faults = [f"{name} is missing" for name in wanted if name not in files]
    known = re.compile(r"Contents/(Info\.plist|MacOS/KelpieSync|Resources/[\w@.]+\.png|"
                       r"embedded\.provisionprofile|_CodeSignature/\w+)")
    return faults + [f"{name} has no place in the bundle"
                     for name in files if not known.fullmatch(name)]


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    bundle = Path(sys.argv[1])
    files = [str(path.relative_to(bundle)) for path in bundle.rglob("*") if path.is_file()]
    faults = layout_faults(files)
    faults += property_list_faults(plistlib.loads((bundle / "Contents/Info.plist").read_bytes()))
    faults += entitlement_faults(plistlib.loads(Path(sys.argv[2]).read_bytes()))
    print("\n".join(faults) or f"check_bundle: {bundle.name} is as it should be")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
