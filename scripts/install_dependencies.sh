#!/bin/sh
# Installs what this project needs on Debian 12, and nothing when all of it is there. Needs root or
# sudo for that; asks no questions of its own.
#   scripts/install_dependencies.sh             to build, test and demonstrate
#   scripts/install_dependencies.sh --checks    also for the second compiler, format, lint, reference
#   scripts/install_dependencies.sh --tool      to build and demonstrate the tool, nothing else
#   scripts/install_dependencies.sh --python    to build and demonstrate the Python package, nothing else
set -eu

build="g++ cmake ninja-build"
tool="libcli11-dev nlohmann-json3-dev libjpeg-dev libpng-dev librsvg2-bin"
python="python3-dev pybind11-dev python3-numpy python3-matplotlib"
tests="libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev make pkg-config dpkg-dev file groff-base
    locales python3 python3-pytest python3-pip python3-distributed mypy"
checks="clang libclang-rt-14-dev clang-format clang-tidy doxygen gcovr"
case "${1:-}" in
"") packages="$build $tool $python $tests" ;;
--checks) packages="$build $tool $python $tests $checks" ;;
--tool) packages="$build $tool" ;;
--python) packages="$build $python" ;;
*)
    echo "unknown option $1" >&2
    exit 2
    ;;
esac

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=""
for package in $packages; do
    is_installed "$package" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get >/dev/null; then
    echo "Please install with the package manager of this system:$missing" >&2
    exit 1
fi
as_root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Run this as root or install sudo. Missing:$missing" >&2
        exit 1
    fi
    as_root="sudo"
fi
echo "Installing:$missing"
$as_root env DEBIAN_FRONTEND=noninteractive apt-get update -q
# The list is meant to be split into words.
# shellcheck disable=SC2086
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing
