#!/usr/bin/env python3
"""Lists everything public that has no comment: headers, classes, enumerations, free functions, types, constants and macros.
It reads Doxygen's XML in the given folder. Overloads share one comment. Members of classes aren't checked."""
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

CHECKED_IN_FILES = ("function", "enum", "typedef", "variable", "define")


def has_comment(node):
    texts = (node.find("briefdescription"), node.find("detaileddescription"))
    return any("".join(text.itertext()).strip() for text in texts)


def file_of(node):
    return node.find("location").get("file")


def is_checked(member, compound):
    kinds = CHECKED_IN_FILES if compound.get("kind") == "file" else ("enum",)
    return member.get("kind") in kinds and member.get("prot") == "public"


def main():
    trees = [ElementTree.parse(path) for path in sorted(pathlib.Path(sys.argv[1]).glob("*.xml"))]
    compounds = [
        compound for tree in trees for compound in tree.iter("compounddef")
        if compound.get("kind") in ("file", "class", "struct", "union") and compound.get("prot", "public") == "public"
        and file_of(compound).endswith(".h")
    ]
    members = [(member, compound) for compound in compounds for member in compound.iter("memberdef")]
    told = {(file_of(member), member.findtext("name")) for member, _ in members if has_comment(member)}
    missing = [(compound, compound.findtext("compoundname")) for compound in compounds if not has_comment(compound)]
    missing += [(member, member.findtext("name")) for member, compound in members
                if is_checked(member, compound) and (file_of(member), member.findtext("name")) not in told]
    for node, name in missing:
        print(f"{file_of(node)}:{node.find('location').get('line', '1')}: {node.get('kind')} {name} has no comment")
    sys.exit(1 if missing else 0)


main()
