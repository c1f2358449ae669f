#!/usr/bin/env python3
"""Runs an example and compares what it prints with what its source says that it prints.

    check_example.py SOURCE PROGRAM

The source ends with a comment "// Prints:", an empty line of comment, and the lines, indented by four
blanks more than the comment.
"""
import difflib
import pathlib
import subprocess
import sys


def promised(source):
    lines = pathlib.Path(source).read_text(encoding="utf-8").removesuffix("\n").split("\n")
    if "// Prints:" not in lines:
        sys.exit(f"{source}: does not say what it prints")
    begin = lines.index("// Prints:")
    if lines[begin + 1 : begin + 2] != ["//"] or begin + 2 == len(lines):
        sys.exit(f"{source}:{begin + 1}: an empty line of comment and then the output have to follow")
    output = []
    for number, line in enumerate(lines[begin + 2 :], begin + 3):
        if line != "//" and not line.startswith("//     "):
            sys.exit(f"{source}:{number}: '//' and five blanks begin a line of output")
        output.append(line.removeprefix("//").removeprefix("     "))
    return output


def main():
    source, program = sys.argv[1:]
    expected = promised(source)
    ran = subprocess.run([program], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, check=False)
    printed = ran.stdout.removesuffix("\n").split("\n")
    if printed != expected:
        print("\n".join(difflib.unified_diff(expected, printed, source, "printed", lineterm="")))
    if ran.returncode != 0:
        print(f"{program} ended with {ran.returncode}")
    return 0 if printed == expected and ran.returncode == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
