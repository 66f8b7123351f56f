#!/usr/bin/env python3
"""Writes ZerlithCore/ZerlithCore.h from the installed headers that the folders' CMakeLists.txt name. With --check it only
checks whether that file is up to date."""
import pathlib
import re
import sys

sys.dont_write_bytecode = True
import rooms

OTHER_NAMES = "DBMessage|MessageFile|MSGLibMessageSource"  # public classes without the usual prefix
# Public headers that a program includes by themselves, because what they take of the standard costs as much as all the others.
LEFT_OUT = {"files": ["KZStdPath.h"], "text": ["KZFormatter.h"]}
LIBRARY = pathlib.Path(__file__).resolve().parent.parent / "ZerlithCore"


def public_headers(room):
    lists = (LIBRARY / room / "CMakeLists.txt").read_text()
    return sorted(set(re.findall(rf"^\s+((?:KZ\w+|{OTHER_NAMES})\.h)$", lists, re.MULTILINE)))


def umbrella():
    text = "/// @file\n/// Everything that ZerlithCore offers.\n#pragma once\n"
    for room in rooms.rooms():
        if names := [name for name in public_headers(room) if name not in LEFT_OUT.get(room, [])]:
            text += "\n" + "".join(f'#include "ZerlithCore/{room}/{name}"\n' for name in names)
    return text


def main():
    target = LIBRARY / "ZerlithCore.h"
    if "--check" not in sys.argv:
        target.write_text(umbrella())
    elif target.read_text() != umbrella():
        sys.exit("ZerlithCore/ZerlithCore.h is out of date: run scripts/umbrella.py")


if __name__ == "__main__":
    main()
