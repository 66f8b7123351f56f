#!/usr/bin/env python3
"""Compiles and runs the examples of pages: docs-examples.py page... -- compiler-argument...

An example is a ```cpp block followed by its output as a ```text block. The code is a program with a `main`, or the body of a
function. It runs with the local time of Berlin. A block that names a file, such as ```cpp examples/pool/pool.cpp, quotes that
file: its text must be there, whatever the blanks and line ends."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

EXAMPLE = re.compile(r"^```cpp\n((?:(?!```).*\n)*)```\n\n?```text\n((?:(?!```).*\n)*)```$", re.MULTILINE)
QUOTE = re.compile(r"^```\w+ (\S+)\n((?:(?!```).*\n)*)```$", re.MULTILINE)
STANDARD = ("algorithm", "deque", "functional", "iostream", "mutex", "sstream", "thread", "vector")
HEADER = "#include <ZerlithCore/ZerlithCore.h>\n" + "".join(f"#include <{name}>\n" for name in STANDARD)


def build(program, source, flags):
    program.with_suffix(".cpp").write_text(HEADER + source)
    subprocess.run(["c++", "-std=c++20", program.with_suffix(".cpp"), "-o", program, *flags], check=True)


def words(text):
    return " ".join(text.split())


def check_quotes(pages):
    root = pathlib.Path(__file__).resolve().parent.parent
    for page in pages:
        for name, quoted in QUOTE.findall(pathlib.Path(page).read_text()):
            if words(quoted) not in words((root / name).read_text()):
                sys.exit(f"{page} quotes {name}, but this isn't in it:\n{quoted}")


def main():
    pages, flags = sys.argv[1:sys.argv.index("--")], sys.argv[sys.argv.index("--") + 1:]
    check_quotes(pages)
    examples = [(page, *found) for page in pages for found in EXAMPLE.findall(pathlib.Path(page).read_text())]
    with tempfile.TemporaryDirectory() as folder:
        bodies, programs = "", [pathlib.Path(folder, f"example{number}") for number in range(len(examples))]
        for number, (_, code, _) in enumerate(examples):
            if re.search(r"^int main\(", code, re.MULTILINE):
                build(programs[number], code, flags)
            else:
                programs[number] = pathlib.Path(folder, "bodies")
                bodies += f"if (std::atoi(arguments[1]) == {number}) {{\n{code}}}\n"
        build(pathlib.Path(folder, "bodies"), f"int main(int, char ** arguments) {{\n{bodies}}}\n", flags)
        for number, (page, _, expected) in enumerate(examples):
            run = subprocess.run([programs[number], str(number)], cwd=folder, stdout=subprocess.PIPE, timeout=60,
                                 env=os.environ | {"TZ": "Europe/Berlin"})
            if re.sub(r" +$", "", run.stdout.decode(), flags=re.MULTILINE) != expected:
                sys.exit(f"{page} expects:\n{expected}but the example prints:\n{run.stdout.decode()}")
    print(f"{len(examples)} examples print what the pages say")


main()
