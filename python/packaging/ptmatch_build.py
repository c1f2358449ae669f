"""Builds the wheel and the source archive of the Python package, for pip and its like (PEP 517).

A wheel holds what `cmake --install --component python` installs. The setting `build-dir`, or the
environment variable PTMATCH_BUILD_DIR, names a build folder that was configured with
PTMATCH_BUILD_PYTHON=ON; what is not up to date in it is built. Without, it is build/wheel.

As a program it writes the metadata of the package, which CMake installs:

    ptmatch_build.py FILE
"""

import base64
import gzip
import hashlib
import io
import os
import pathlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import time
import tomllib
import zipfile
from collections.abc import Iterator
from typing import Any, Optional

ROOT = pathlib.Path(__file__).resolve().parents[2]
#: What the module is built from.
SOURCES = (
    "CHANGELOG.md",
    "CMakeLists.txt",
    "README.md",
    "cmake",
    "include",
    "pyproject.toml",
    "python/CMakeLists.txt",
    "python/packaging",
    "python/ptmatch",
    "python/src",
    "src",
)

Settings = Optional[dict[str, Any]]


def project() -> dict[str, Any]:
    """The table `project` of pyproject.toml, and the version, which CMakeLists.txt has."""
    with open(ROOT / "pyproject.toml", "rb") as file:
        table: dict[str, Any] = tomllib.load(file)["project"]
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"^project\(ptmatch VERSION ([0-9.]+)", text, re.MULTILINE)
    if found is None:
        raise RuntimeError("CMakeLists.txt has no version")
    return {**table, "version": found[1]}


def metadata() -> str:
    """The file METADATA of the package."""
    table = project()
    lines = [
        "Metadata-Version: 2.1",
        f"Name: {table['name']}",
        f"Version: {table['version']}",
        f"Summary: {table['description']}",
        *(f"Classifier: {classifier}" for classifier in table["classifiers"]),
        f"Requires-Python: {table['requires-python']}",
        *(f"Requires-Dist: {needed}" for needed in table["dependencies"]),
    ]
    for extra, packages in table["optional-dependencies"].items():
        lines.append(f"Provides-Extra: {extra}")
        lines += [f'Requires-Dist: {needed} ; extra == "{extra}"' for needed in packages]
    return "\n".join(lines) + "\n"


def stem() -> str:
    """Name and version, as files of packages are called."""
    table = project()
    return f"{table['name']}-{table['version']}"


def tag() -> str:
    """For which interpreter, binary interface and machine a wheel is, built by this interpreter."""
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    platform = re.sub(r"[-.]", "_", sysconfig.get_platform())
    return f"{python}-{python}-{platform}"


def time_of_files() -> int:
    """One time for all files, so that the same sources make the same archive."""
    begin_of_zip = 315619200  # 1980, in the night of the second of January
    return max(int(os.environ.get("SOURCE_DATE_EPOCH", begin_of_zip)), begin_of_zip)


def cmake(*arguments: object) -> None:
    # pip hides the packages of the system; CMake looks for the NumPy that is among them.
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    subprocess.run(["cmake", *map(str, arguments)], check=True, env=environment)


def built(settings: Settings) -> pathlib.Path:
    """The build folder, the module in it up to date."""
    given = (settings or {}).get("build-dir") or os.environ.get("PTMATCH_BUILD_DIR")
    folder = pathlib.Path(given).resolve() if given else ROOT / "build" / "wheel"
    if not given:
        generator = ["-G", "Ninja"] if shutil.which("ninja") else []
        parts = ["TESTS", "TOOL", "EXAMPLES", "BENCH"]
        cmake(
            *("-S", ROOT, "-B", folder, *generator),
            *("-DCMAKE_BUILD_TYPE=Release", "-DPTMATCH_BUILD_PYTHON=ON"),
            *(f"-DPTMATCH_BUILD_{part}=OFF" for part in parts),
            f"-DPython3_EXECUTABLE={sys.executable}",
        )
    cmake("--build", folder, "--target", "ptmatch_python", "--parallel", os.cpu_count() or 1)
    return folder


def installed_package(prefix: pathlib.Path) -> pathlib.Path:
    """The folder below the prefix that holds the package, which fits this interpreter."""
    found = list(prefix.rglob(f"{stem()}.dist-info"))
    if len(found) != 1:
        raise RuntimeError(f"CMake did not install one package {stem()}, but {len(found)}")
    packages = found[0].parent
    if not (packages / "ptmatch" / f"_core{sysconfig.get_config_var('EXT_SUFFIX')}").exists():
        raise RuntimeError(f"the module was built for another Python than {sys.executable}")
    return packages


def record_line(name: str, content: bytes) -> str:
    digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(content)}\n"


def write_wheel(file: pathlib.Path, packages: pathlib.Path) -> None:
    contents = {
        path.relative_to(packages).as_posix(): path.read_bytes()
        for path in sorted(packages.rglob("*"))
        if path.is_file()
    }
    info = f"{stem()}.dist-info"
    contents[f"{info}/WHEEL"] = (
        f"Wheel-Version: 1.0\nGenerator: ptmatch_build {project()['version']}\n"
        f"Root-Is-Purelib: false\nTag: {tag()}\n"
    ).encode()
    record = "".join(record_line(name, content) for name, content in contents.items())
    contents[f"{info}/RECORD"] = f"{record}{info}/RECORD,,\n".encode()
    date = time.gmtime(time_of_files())[:6]
    with zipfile.ZipFile(file, "w") as wheel:
        for name, content in contents.items():
            entry = zipfile.ZipInfo(name, date)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o755 if name.endswith(".so") else 0o644) << 16
            wheel.writestr(entry, content)


def build_wheel(
    wheel_directory: str, config_settings: Settings = None, metadata_directory: Optional[str] = None
) -> str:
    name = f"{stem()}-{tag()}.whl"
    folder = built(config_settings)
    with tempfile.TemporaryDirectory() as scratch:
        cmake("--install", folder, "--prefix", scratch, "--component", "python", "--strip")
        write_wheel(pathlib.Path(wheel_directory, name), installed_package(pathlib.Path(scratch)))
    return name


def prepare_metadata_for_build_wheel(
    metadata_directory: str, config_settings: Settings = None
) -> str:
    info = f"{stem()}.dist-info"
    folder = pathlib.Path(metadata_directory, info)
    folder.mkdir(parents=True)
    (folder / "METADATA").write_text(metadata(), encoding="utf-8")
    return info


def source_files() -> Iterator[pathlib.Path]:
    for name in SOURCES:
        path = ROOT / name
        for file in sorted(path.rglob("*")) if path.is_dir() else [path]:
            if file.is_file() and "__pycache__" not in file.parts:
                yield file


def build_sdist(sdist_directory: str, config_settings: Settings = None) -> str:
    name = f"{stem()}.tar.gz"
    contents = {file.relative_to(ROOT).as_posix(): file.read_bytes() for file in source_files()}
    contents["PKG-INFO"] = metadata().encode()
    unpacked = io.BytesIO()
    with tarfile.open(fileobj=unpacked, mode="w", format=tarfile.PAX_FORMAT) as tar:
        for path, content in contents.items():
            entry = tarfile.TarInfo(f"{stem()}/{path}")
            entry.size = len(content)
            entry.mtime = time_of_files()
            tar.addfile(entry, io.BytesIO(content))
    packed = gzip.compress(unpacked.getvalue(), mtime=time_of_files())
    pathlib.Path(sdist_directory, name).write_bytes(packed)
    return name


if __name__ == "__main__":
    pathlib.Path(sys.argv[1]).write_text(metadata(), encoding="utf-8")
