#!/usr/bin/env bash
# Runs clang-tidy over the sources that are neither tests nor fuzzers, with the flags of a configured build.
# usage: scripts/lint.sh BUILD_DIRECTORY
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1

# together CHECKS PATTERN...   CHECKS are added to those of .clang-tidy.
together() {
    local checks=$1
    shift
    git ls-files -z "$@" | xargs -0 scripts/lint_together.py "$build" "$checks"
}

together '-clang-analyzer-*' 'src/*.cpp'
# The headers of the packages that these use make two groups of checks take more than half of the
# time. The comparison with other packages is not part of a normal build.
together '-clang-analyzer-*,-performance-unnecessary-value-param' \
    'tool/*.cpp' 'bench/*.cpp' ':!bench/peers/*' 'tests/reference/*.cpp' \
    ':!tests/reference/*_test.cpp' 'examples/08*.cpp'
# What follows paths through a program looks at one source at a time.
git ls-files -z 'src/*.cpp' |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy-14 -p "$build" --quiet --checks='-*,clang-analyzer-*'
