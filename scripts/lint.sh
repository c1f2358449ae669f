#!/usr/bin/env bash
# Runs clang-tidy over the sources that are not tests, with the flags of a configured build.
# usage: scripts/lint.sh BUILD_DIRECTORY
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z 'src/*.cpp' 'tool/*.cpp' 'bench/*.cpp' 'tests/reference/*.cpp' |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy-14 -p "$1" --quiet
