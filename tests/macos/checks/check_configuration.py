#!/usr/bin/env python3
"""Looks at what CMake would make of the app extension on a Mac, on a Linux that is taken for one.

    check_configuration.py CMAKE FOLDER

FOLDER is for the build folders. Checked are the bundle's layout, property list and entitlements
for each way to configure them, and which signatures are refused.
"""

import plistlib
import shutil
import subprocess
import sys
from pathlib import Path

import check_bundle
from check_bundle import READ_ALL, ROOT

TEAM = "ABCDE12345"
DEVELOPER = f"Developer ID Application: Some Body ({TEAM})"
PERSON = "Apple Development: some@body.example (ZYXWV54321)"
OWN_GROUP = f"{TEAM}.kelpie"


class Configurator:
    def __init__(self, cmake, folder):
        self.cmake = cmake
        self.folder = folder

    def configure(self, options):
        """The build folder, or None and what CMake said."""
        build = self.folder / "build"
        shutil.rmtree(build, ignore_errors=True)
        command = [self.cmake, "-S", ROOT, "-B", build, "-G", "Ninja", "-DKELPIE_TESTS=OFF",
                   f"-DCMAKE_TOOLCHAIN_FILE={ROOT}/tests/macos/checks/Darwin.toolchain.cmake"]
        command += [f"-D{name}={value}" for name, value in options.items()]
        done = subprocess.run(command, capture_output=True, text=True)
        output = " ".join((done.stdout + done.stderr).split())
        return (build if done.returncode == 0 else None), output


def faults_of(build):
    """What is wrong with the bundle that this build folder would make; and the entitlements."""
    targets = subprocess.run(["ninja", "-C", build, "-t", "targets", "all"], check=True,
                             capture_output=True, text=True).stdout
    names = [line.split(": ")[0] for line in targets.splitlines() if ": " in line]
    prefix = "KelpieSync.appex/"
    files = {name[len(prefix):] for name in names if name.startswith(prefix)}
    files |= {str(path.relative_to(build / prefix))
              for path in (build / prefix).rglob("*") if path.is_file()}
    info = plistlib.loads((build / prefix / "Contents/Info.plist").read_bytes())
    entitlements = plistlib.loads(
        (build / "src/platform/macos/KelpieSync.entitlements").read_bytes())
    return (check_bundle.layout_faults(files) + check_bundle.property_list_faults(info) +
            check_bundle.entitlement_faults(entitlements)), info, entitlements


def accepted_cases(profile):
    """Name, options, and a test of the property list and the entitlements."""
    return [
        ("ad hoc", {},
         lambda info, has: has[READ_ALL] == ["/"] and info["LSMinimumSystemVersion"] == "10.15"),
        ("names of somebody's own",
         {"KELPIE_EXTENSION_IDENTIFIER": "org.example.App.Sync", "KELPIE_VERSION": "2.1"},
         lambda info, has: info["CFBundleIdentifier"] == "org.example.App.Sync"
         and info["CFBundleVersion"] == "2.1"),
        ("without the exception for all files", {"KELPIE_READ_ALL_FILES": "OFF"},
         lambda info, has: READ_ALL not in has),
        ("a team's own group",
         {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER, "KELPIE_APPLICATION_GROUP": OWN_GROUP},
         lambda info, has: has["com.apple.security.application-groups"] == [OWN_GROUP]),
        ("a person of a team that is named",
         {"KELPIE_CODE_SIGN_IDENTITY": PERSON, "KELPIE_TEAM_IDENTIFIER": TEAM,
          "KELPIE_APPLICATION_GROUP": OWN_GROUP},
         lambda info, has: "com.apple.application-identifier" not in has),
        ("a profile that lists the group",
         {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER, "KELPIE_PROVISIONING_PROFILE": profile},
         lambda info, has: has["com.apple.developer.team-identifier"] == TEAM
         and has["com.apple.application-identifier"] == f"{TEAM}.org.kelpie.Kelpie.Sync"),
    ]


def refused_cases(profile):
    """Name, options, and a part of what is said."""
    return [
        ("a group that needs a profile", {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER},
         "must stand in a provisioning profile"),
        ("a group of another team",
         {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER, "KELPIE_APPLICATION_GROUP": "ZZZZZ99999.kelpie"},
         "is not of the team"),
        ("a team that another one's name begins with",
         {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER, "KELPIE_APPLICATION_GROUP": TEAM + "6.kelpie"},
         "is not of the team"),
        ("a person, whose parentheses are no team",
         {"KELPIE_CODE_SIGN_IDENTITY": PERSON, "KELPIE_APPLICATION_GROUP": "ZYXWV54321.kelpie"},
         "does not name its team"),
        ("a team that is not the identity's",
         {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER, "KELPIE_TEAM_IDENTIFIER": "ZZZZZ99999",
          "KELPIE_APPLICATION_GROUP": "ZZZZZ99999.kelpie"},
         "is not of the team"),
        ("a profile of another group",
         {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER, "KELPIE_PROVISIONING_PROFILE": profile,
          "KELPIE_APPLICATION_GROUP": "group.org.other"},
         "does not list the group"),
        ("a profile that is not there",
         {"KELPIE_CODE_SIGN_IDENTITY": DEVELOPER, "KELPIE_PROVISIONING_PROFILE": "/no/profile"},
         "there is no file"),
        ("a profile without an identity", {"KELPIE_PROVISIONING_PROFILE": profile},
         "needs KELPIE_CODE_SIGN_IDENTITY"),
    ]


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    folder = Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    configurator = Configurator(sys.argv[1], folder)
    # As such a file is: a property list amid a signature.
    profile = folder / "some.provisionprofile"
    profile.write_bytes(b"0\x82\x1e\x01\x06\t*\x86H\x86\xf7\n" + plistlib.dumps(
        {"Entitlements": {"com.apple.security.application-groups":
                          ["group.org.first", "group.org.kelpie"]}}) + b"\xa0\x82\x0d\x00\xff")

    failed = []
    for name, options, is_right in accepted_cases(profile):
        build, output = configurator.configure(options)
        if build is None:
            failed.append(f"{name}: refused: {output}")
            continue
        faults, info, entitlements = faults_of(build)
        failed += [f"{name}: {fault}" for fault in faults]
        if not is_right(info, entitlements):
            failed.append(f"{name}: not what was asked for: {info} {entitlements}")
    for name, options, text in refused_cases(profile):
        build, output = configurator.configure(options)
        if build is not None or text not in output:
            failed.append(f"{name}: not refused with '{text}': {output[-500:]}")
    print("\n".join(failed) or "check_configuration: all as it should be")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
