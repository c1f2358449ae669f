#!/bin/sh
# Runs the library's tests with counters and tells which of its lines and branches they reached. Called by
# the target `coverage` of a build with PTMATCH_COVERAGE (GCC):
#   cmake build/release -DPTMATCH_COVERAGE=ON && cmake --build build/release --target coverage
# Prints the figures and the lines that were not reached, writes coverage.html to BUILD/coverage, and fails
# below 97 % of lines or 90 % of branches.
#   scripts/coverage.sh BUILD PROGRAM...
set -eu
source=$(cd "$(dirname "$0")/.." && pwd)
build=$1
shift
out=$build/coverage
mkdir -p "$out"
find "$build" -name '*.gcda' -delete

# The comparisons with the plain reference take a part of their cases. What a test says of speed does not
# hold for a library that is not optimised.
export PTMATCH_DIFFERENTIAL_CASES="${PTMATCH_DIFFERENTIAL_CASES:-30}"
export GTEST_FILTER='-*Faster*'

# Programs that run at the same time add their counts up in the files.
shares=4
export out GTEST_TOTAL_SHARDS=$shares
for program in "$@"; do
    for share in $(seq 0 $((shares - 1))); do echo "$share $program"; done
done | xargs -P "$(nproc)" -L 1 sh -c '
    log=$out/$(basename "$1").$0.log
    GTEST_SHARD_INDEX=$0 "$1" --gtest_brief=1 >"$log" 2>&1 || { cat "$log"; exit 255; }'

# Branches that the compiler adds for exceptions that any call may throw are left out: failing allocations
# are tested apart. A counter that several threads raised at once can come out negative.
status=0
gcovr --root "$source" --object-directory "$build" --filter "$source/src/" --filter "$source/include/" \
    --exclude-throw-branches --exclude-unreachable-branches --gcov-ignore-parse-errors \
    --fail-under-line 97 --fail-under-branch 90 \
    --txt "$out/coverage.txt" --html-details "$out/coverage.html" --print-summary "$build/src" \
    >"$out/summary.txt" 2>"$out/gcovr.log" || status=$?
grep -vE ' 100%|^-|^File|^ +GCC|^Directory' "$out/coverage.txt" || true
grep -E '^(lines|branches):' "$out/summary.txt"
[ "$status" -eq 0 ] || tail -n 2 "$out/gcovr.log" >&2
exit "$status"
