#!/usr/bin/python3
"""Writes the type stub of the Python module, from the signatures that pybind11 puts before docstrings.

    PYTHONPATH=build/release/python scripts/make_python_stub.py >python/ptmatch/_core.pyi

Signatures say what C++ gets. The stub says what a caller may hand over: an array argument is what NumPy
makes an array of, a point is any sequence, a degree goes where a radian does.
"""

import inspect
import re
import sys
from collections.abc import Iterator
from dataclasses import dataclass
from typing import Any

import ptmatch._core as core

WIDTH = 100
INDENT = "    "

HEADER = '''"""Types of the classes of the library. Made by scripts/make_python_stub.py; do not edit."""

from collections.abc import Callable, Sequence
from typing import Any, ClassVar, Never, Optional, TypeAlias, Union, overload

import numpy as np
from numpy.typing import ArrayLike, DTypeLike, NDArray

from . import errors

_Numbers = Union[Sequence[float], NDArray[Any]]
_WholeNumbers = Union[Sequence[int], NDArray[Any]]
_Angle = Union[rxRadian, rxDegree]

__version__: str

class _Type(type): ...

class _Object(metaclass=_Type):
    # For classes without a constructor.
    def __init__(self, *args: Never, **kwargs: Never) -> None: ...
'''

#: What may be handed over, by what C++ gets.
ARGUMENTS = {
    "object": "ArrayLike",
    "numpy.ndarray": "ArrayLike",
    "tuple[float, float]": "_Numbers",
    "tuple[float, float, float]": "_Numbers",
    "tuple[int, int]": "_WholeNumbers",
    "rxRadian": "_Angle",
    "rxDegree": "_Angle",
    "dict": "dict[Any, Any]",
    "tuple": "tuple[Any, ...]",
}
#: Arguments of NumPy's protocol for arrays, by name.
PROTOCOL = {"dtype": "DTypeLike", "copy": "Optional[bool]"}
#: What comes back.
RESULTS = {
    "numpy.ndarray": "NDArray[np.float64]",
    "Optional[function]": "Optional[Callable[[float], object]]",
    "tuple": "tuple[Any, ...]",
}

ENUM_MEMBERS = """\
__members__: ClassVar[dict[str, {name}]]
def __init__(self, value: int) -> None: ...
@property
def name(self) -> str: ...
@property
def value(self) -> int: ...
def __int__(self) -> int: ...
def __index__(self) -> int: ...
def __eq__(self, other: object) -> bool: ...
def __ne__(self, other: object) -> bool: ...
def __hash__(self) -> int: ...
def __getstate__(self) -> int: ...
def __setstate__(self, state: int) -> None: ...
"""


@dataclass
class Signature:
    """One way to call a function: arguments as they are written in a stub, and what comes back."""

    arguments: list[str]
    result: str

    def lines(self, name: str) -> list[str]:
        line = f"def {name}({', '.join(self.arguments)}) -> {self.result}: ..."
        if len(line) <= WIDTH - len(INDENT):
            return [line]
        inner = [f"{INDENT}{argument}," for argument in self.arguments]
        return [f"def {name}(", *inner, f") -> {self.result}: ..."]


def plain(text: str) -> str:
    """A type as pybind11 writes it, in the words of a stub."""
    text = text.strip().replace("ptmatch._core.", "").replace("List[", "list[")
    return re.sub(r"numpy\.ndarray\[numpy\.(\w+)\]", r"NDArray[np.\1]", text)


def result_type(text: str) -> str:
    return RESULTS.get(plain(text), plain(text))


def split_arguments(text: str) -> Iterator[str]:
    """Splits at the commas that no bracket encloses."""
    depth = begin = 0
    for place, letter in enumerate(text):
        depth += (letter in "([{<") - (letter in ")]}>")
        if letter == "," and depth == 0:
            yield text[begin:place]
            begin = place + 1
    if text[begin:].strip():
        yield text[begin:]


def argument(text: str) -> str:
    name, _, rest = text.strip().partition(": ")
    if name == "self":
        return name
    kind, equals, _ = rest.partition(" = ")
    kind = PROTOCOL.get(name, ARGUMENTS.get(plain(kind), plain(kind)))
    return f"{name}: {kind}{' = ...' if equals else ''}"


def signatures(name: str, doc: str) -> list[Signature]:
    """Those of a docstring: one in its first line, or several that are numbered."""
    found = re.findall(rf"^(?:\d+\. )?{re.escape(name)}\((.*)\) -> (.*)$", doc, re.MULTILINE)
    return [
        Signature([argument(part) for part in split_arguments(arguments)], result_type(result))
        for arguments, result in found
    ]


def like_the_argument(way: Signature) -> list[Signature]:
    """The ways of a function that gives an array for an array, and a tuple for a point."""
    if way.result != "object":
        return [way]
    arrays = [part.replace("ArrayLike", "NDArray[Any]") for part in way.arguments]
    return [Signature(arrays, "NDArray[np.float64]"), Signature(way.arguments, "Any")]


def function(name: str, doc: str, is_static: bool = False) -> list[str]:
    ways = signatures(name, doc)
    if not ways:
        raise RuntimeError(f"no signature of {name} in: {doc}")
    if name == "__eq__":
        ways = [Signature(["self", "other: object"], "bool")]
    if name == "__setstate__":
        ways = [Signature([a.replace("arg0:", "state:") for a in ways[0].arguments], "None")]
    if name == "__array__":
        ways = [Signature(ways[0].arguments, "NDArray[Any]")]
    ways = [one for way in ways for one in like_the_argument(way)]
    # A degree and a radian make two ways in C++.
    ways = [way for place, way in enumerate(ways) if way not in ways[:place]]
    lines = []
    for way in ways:
        if len(ways) > 1:
            lines.append("@overload")
        if is_static:
            lines.append("@staticmethod")
        lines += way.lines(name)
    return lines


def attribute(name: str, value: property) -> list[str]:
    match = re.search(r"-> (.*)$", value.fget.__doc__ or "", re.MULTILINE)
    if match is None:
        raise RuntimeError(f"no type of {name}")
    kind = result_type(match[1])
    if type(value).__name__ == "pybind11_static_property":
        return [f"{name}: ClassVar[{kind}]"]
    if value.fset is not None:
        return [f"{name}: {kind}"]
    return ["@property", f"def {name}(self) -> {kind}: ..."]


def is_enum(value: Any) -> bool:
    return inspect.isclass(value) and hasattr(value, "__members__")


def member(name: str, value: Any) -> list[str]:
    if isinstance(value, property):
        return attribute(name, value)
    if isinstance(value, staticmethod):
        return function(name, value.__func__.__doc__ or "", is_static=True)
    if inspect.isclass(value):
        if value.__module__ == "ptmatch.errors":
            return [f"{name}: TypeAlias = errors.{value.__name__}"]
        return class_lines(value)
    if type(value).__module__ == core.__name__:
        return [f"{name}: ClassVar[{type(value).__qualname__}]"]
    if isinstance(value, (int, float, str)):
        return [f"{name}: ClassVar[{type(value).__name__}]"]
    if name == "__hash__" and value is None:
        return ["__hash__: ClassVar[None]  # type: ignore[assignment]"]
    return function(name, value.__doc__ or "")


def is_left_out(name: str, value: Any) -> bool:
    inherited = name == "__init__" and not (value.__doc__ or "").startswith("__init__(")
    # copyreg leaves __slotnames__ when an object is copied; __reduce_ex__ is that of object.
    dunder = ("__doc__", "__module__", "__reduce_ex__", "__repr__", "__slotnames__")
    return inherited or name in dunder or "pybind11" in name


def class_lines(kind: type) -> list[str]:
    lines: list[str] = []
    if is_enum(kind):
        names = getattr(kind, "__members__")
        lines += [f"{name}: ClassVar[{kind.__qualname__}]" for name in names]
        lines += ENUM_MEMBERS.format(name=kind.__qualname__).splitlines()
    else:
        for name, value in vars(kind).items():
            if not is_left_out(name, value):
                lines += member(name, value)
    bases = [base.__name__.replace("pybind11_object", "_Object") for base in kind.__bases__]
    head = f"class {kind.__name__}({', '.join(bases)}):"
    return [head, *(INDENT + line for line in lines)] if lines else [head + " ..."]


def stub() -> str:
    text = HEADER
    for name, value in vars(core).items():
        if name.startswith("__"):
            continue
        if inspect.isclass(value):
            lines = class_lines(value)
        elif callable(value):
            lines = function(name, value.__doc__ or "")
        else:
            lines = [f"{name}: {type(value).__name__}"]
        blank = "" if callable(value) and not inspect.isclass(value) else "\n"
        text += blank + "\n".join(lines) + "\n"
    return text


if __name__ == "__main__":
    sys.stdout.write(stub())
