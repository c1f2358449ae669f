#!/usr/bin/env python3
"""Which sources can be read by a compiler as one file.

usage: source_groups.py MOST SOURCE...    prints a line for each source: the number of its group, the source

Sources go together, MOST at the most, if the names that one gives itself are no words of the others, nor
of headers that these bring: nothing is then defined twice, taken for something else, or hidden.
"""

import functools
import re
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
INCLUDE_DIRECTORIES = [PROJECT / name for name in ("include", "src", "tests", "tool", "bench")]


@functools.cache
def code_of(path):
    """The text without comments."""
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", path.read_text(encoding="utf-8"), flags=re.S)


@functools.cache
def words_of(path):
    return frozenset(re.findall(r"\w+", re.sub(r'"(\\.|[^"\\\n])*"', "", code_of(path))))


@functools.cache
def includes_of(path):
    """The project's headers that a file includes itself."""
    found = []
    for name in re.findall(r'^#include "([^"]+)"', code_of(path), re.M):
        places = [directory / name for directory in (path.parent, *INCLUDE_DIRECTORIES)]
        found += [place.resolve() for place in places if place.is_file()][:1]
    return found


@functools.cache
def headers_of(path):
    """The project's headers that a file includes, and those that they include."""
    found, open_ends = set(), [path]
    while open_ends:
        for header in includes_of(open_ends.pop()):
            if header not in found:
                found.add(header)
                open_ends.append(header)
    return frozenset(found)


def own_names(code):
    """Names that are declared at the left margin, between a pair of nameless braces or not.

    Members of classes that are declared elsewhere, and names of other namespaces, are not a source's own.
    """
    code = re.sub(r"^\[\[[^\]]*\]\]\s*", "", code, flags=re.M)  # attributes
    names = set(re.findall(r"^(?:struct|class|union|enum(?: class)?)\s+(\w+)", code, re.M))
    names |= set(re.findall(r"^using\s+(\w+)\s*=", code, re.M))
    names |= set(re.findall(r"^using\s+[\w:]+::(\w+);", code, re.M))
    names |= set(re.findall(r"^#define\s+(\w+)", code, re.M))
    for enumerators in re.findall(r"^enum\s+(?!class)[^{;]*\{([^}]*)\}", code, re.M):
        names |= set(re.findall(r"(\w+)\s*(?:=[^,]*)?(?:,|\s*$)", enumerators))
    names |= set(re.findall(r"^(?!namespace|using|struct|class|enum|#|\}|return|TEST)[\w:<][^\n(={;]*?"
                            r"(?<!::)\b(\w+)\s*[(={;\[]", code, re.M))
    return names - {"operator"}


def aliases(code):
    """Statements that may be repeated, but not with another meaning."""
    said = dict(re.findall(r"^using\s+(\w+)\s*=\s*([^;]+);", code, re.M))
    said |= {name: space for space, name in re.findall(r"^using\s+([\w:]+)::(\w+);", code, re.M)}
    return said


def used(names, files):
    """Those of the names that are words of the files."""
    return set().union(*(names & words_of(file) for file in files))


class Group:
    def __init__(self, most):
        self.most = most
        self.sources = []
        self.files = set()  # the sources and their headers
        self.names = set()
        self.aliases = {}

    def add(self, source):
        """@return whether the source fits and was added."""
        path = source.resolve()
        files, names, said = {path, *headers_of(path)}, own_names(code_of(path)), aliases(code_of(path))
        if len(self.sources) == self.most:
            return False
        if any(said[name] != self.aliases[name] for name in said.keys() & self.aliases.keys()):
            return False
        meeting = used(names, self.files - files) | used(self.names, files - self.files)
        if meeting - (said.keys() & self.aliases.keys()):
            return False
        self.sources.append(source)
        self.files |= files
        self.names |= names
        self.aliases |= said
        return True


def groups_of(sources, most):
    """Lists of sources, each in the first group that it fits into."""
    groups = []
    for source in sources:
        if not any(group.add(source) for group in groups):
            groups.append(Group(most))
            groups[-1].add(source)
    return [group.sources for group in groups]


if __name__ == "__main__":
    for number, group in enumerate(groups_of([Path(name) for name in sys.argv[2:]], int(sys.argv[1]))):
        print("".join(f"{number} {source}\n" for source in group), end="")
