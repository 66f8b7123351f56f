#!/usr/bin/env python3
"""Compiles and runs the examples of pages: docs-examples.py page... -- compiler-argument...

An example is a ```cpp block with a ```text block behind it, which is what it prints, blanks at the
ends of lines aside. A block with a `main` of its own is a
program; others are the bodies of functions, gathered in one program."""
import difflib
import pathlib
import re
import subprocess
import sys
import tempfile

EXAMPLE = re.compile(r"^```cpp\n((?:(?!```).*\n)*)```\n\n?```text\n((?:(?!```).*\n)*)```$", re.MULTILINE)
HEADER = "#include <ZerlithCore/ZerlithCore.h>\n#include <iostream>\n#include <sstream>\n"


def build(folder, name, source, flags):
    (folder / f"{name}.cpp").write_text(HEADER + source)
    subprocess.run(["c++", "-std=c++20", folder / f"{name}.cpp", "-o", folder / name, *flags], check=True)


def main():
    split = sys.argv.index("--")
    examples = [(page, *found) for page in sys.argv[1:split] for found in EXAMPLE.findall(pathlib.Path(page).read_text())]
    with tempfile.TemporaryDirectory() as scratch:
        folder, bodies, commands = pathlib.Path(scratch), "", []
        for number, (_, code, _) in enumerate(examples):
            isProgram = re.search(r"^int main\(", code, re.MULTILINE)
            commands.append([folder / (f"program{number}" if isProgram else "bodies"), str(number)])
            if isProgram:
                build(folder, f"program{number}", code, sys.argv[split + 1:])
            else:
                bodies += f"if (std::atoi(arguments[1]) == {number}) {{\n{code}}}\n"
        build(folder, "bodies", f"int main(int, char ** arguments) {{\n{bodies}}}\n", sys.argv[split + 1:])
        for (page, _, expected), command in zip(examples, commands):
            printed = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, timeout=60).stdout.decode()
            lines = [[line.rstrip() for line in text.split("\n")] for text in (expected, printed)]
            if lines[0] != lines[1]: sys.exit("\n".join(difflib.unified_diff(*lines, page, "printed", lineterm="")))
    print(f"{len(examples)} examples print what the pages say")


main()
