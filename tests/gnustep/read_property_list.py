"""Reads a keyed archive as the property list that it is, with Python's own reader, checks what
every keyed archive has to have, and writes it again, with Python's own writer.

    read_property_list.py ARCHIVE AGAIN
"""

import plistlib
import sys


def uids(value):
    """Every reference to another object in a value."""
    if isinstance(value, plistlib.UID):
        yield value.data
    elif isinstance(value, dict):
        for part in value.values():
            yield from uids(part)
    elif isinstance(value, list):
        for part in value:
            yield from uids(part)


def problems(archive):
    if archive.get("$version") != 100000:
        yield f"$version is {archive.get('$version')}"
    if archive.get("$archiver") != "NSKeyedArchiver":
        yield f"$archiver is {archive.get('$archiver')}"
    objects = archive.get("$objects")
    if not objects or objects[0] != "$null":
        yield "$objects does not begin with $null"
        return
    if list(archive.get("$top", {})) != ["root"]:
        yield f"$top is {archive.get('$top')}"
    for number in (*uids(archive["$top"]), *uids(objects)):
        if number >= len(objects):
            yield f"there is no object {number}"
            return
    for item in objects:
        if isinstance(item, dict) and "$class" in item:
            described = objects[item["$class"].data]
            if described["$classname"] != described["$classes"][0]:
                yield f"{described} does not begin with its own name"
            if described["$classes"][-1] != "NSObject":
                yield f"{described} does not end with NSObject"


def main():
    with open(sys.argv[1], "rb") as file:
        archive = plistlib.load(file, fmt=plistlib.FMT_BINARY)
    found = list(problems(archive))
    for problem in found:
        print(problem)
    with open(sys.argv[2], "wb") as file:
        plistlib.dump(archive, file, fmt=plistlib.FMT_BINARY, sort_keys=False)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
