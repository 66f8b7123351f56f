#!/usr/bin/env python3
"""Tells where a source of the library includes what it must not: a room includes rooms below it only. The list of rooms,
from the top to the ground, and the includes that are allowed all the same are those that docs/architecture.md shows.
Tells, too, which headers outside of `detail/` aren't installed; in `platform/` those are for ports."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARY = ROOT / "ZerlithCore"
PAGE = ROOT / "docs/architecture.md"


def rooms():
    """The rooms, from the ground up."""
    house = re.search(r"^    ZerlithCore/\n((?:      .*\n)+)", PAGE.read_text(), re.MULTILINE)
    names = re.findall(r"^      (\w+)/ ", house[1], re.MULTILINE) if house else []
    folders = {entry.name for entry in LIBRARY.iterdir() if entry.is_dir()}
    if set(names) != folders:
        sys.exit(f"{PAGE}: the house shows other rooms than there are: {sorted(set(names) ^ folders)}")
    return names[::-1]


def exceptions():
    """Room and header of the includes upward that the page names."""
    return set(re.findall(r"^    (\w+) -> (\w+/\w+\.h) ", PAGE.read_text(), re.MULTILINE))


def faults_of(source, height, allowed):
    name = source.relative_to(LIBRARY)
    room = name.parts[0]
    for number, line in enumerate(source.read_text().splitlines(), 1):
        target = re.match(r'\s*#\s*include\s+["<]ZerlithCore/(([^/">]+)/[^">]+)[">]', line)
        if not target or (room, target[1]) in allowed:
            continue
        if target[2] not in height:
            yield f"{source}:{number}: no such room: {target[1]}"
        elif height[target[2]] > height[room]:
            yield f"{source}:{number}: {room} includes {target[1]}, which is above it"
        # Only an implementation knows its folder of the seam.
        elif target[1].startswith("platform/") and target[1].count("/") > 1:
            if name.parts[:2] != pathlib.Path(target[1]).parts[:2]:
                yield f"{source}:{number}: {target[1]} is for the sources of its folder only"


def hidden_headers(room):
    installed = set(re.findall(r"^\s+(\w+\.h)$", (LIBRARY / room / "CMakeLists.txt").read_text(), re.MULTILINE))
    for header in sorted((LIBRARY / room).glob("*.h")):
        if room != "platform" and header.name not in installed:
            yield f"{header}: belongs to detail/, since it isn't installed"


def main():
    height = {room: place for place, room in enumerate(rooms())}
    allowed = exceptions()
    sources = [path for path in LIBRARY.glob("*/**/*") if path.suffix in (".h", ".cpp", ".inl")]
    faults = [fault for source in sorted(sources) for fault in faults_of(source, height, allowed)]
    faults += [fault for room in height for fault in hidden_headers(room)]
    if faults:
        sys.exit("\n".join(faults))


if __name__ == "__main__":
    main()
