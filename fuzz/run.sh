#!/usr/bin/env bash
# Fuzzes, and keeps what was found. Needs Clang 14 with its libFuzzer.
#   fuzz/run.sh [--seconds N] [--fast] [NAME...]   each fuzzer (or those named) for N seconds, 60 without it
#   fuzz/run.sh --minimise [NAME...]               replaces fuzz/corpus/NAME by the fewest inputs that reach
#                                                  the edges of all that is kept
#   fuzz/run.sh --coverage [NAME...]               the lines of the library that the saved inputs reach
# What a fuzzer finds of interest is kept in build/fuzz-found/NAME, from one call to the next. An input
# that breaks a promise is left in build/fuzz-found as NAME-crash-..., and the script fails; mend the
# defect, write a test for it, and move the input to fuzz/corpus/NAME. --fast leaves the sanitizers out.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=60
mode=fuzz
preset=fuzz
while [ $# -gt 0 ]; do
    case "$1" in
    --seconds) seconds=$2; shift ;;
    --fast) preset=fuzz-coverage ;;
    --minimise) mode=minimise ;;
    --coverage) mode=coverage preset=fuzz-coverage ;;
    -*) sed -n '2,10s/^# \?//p' "$0" >&2; exit 2 ;;
    *) break ;;
    esac
    shift
done
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
    for source in fuzz/fuzz_*.cpp; do
        name=$(basename "$source" .cpp)
        names+=("${name#fuzz_}")
    done
fi

found=$PWD/build/fuzz-found
programs=$PWD/build/$preset/fuzz
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target "${names[@]/#/fuzz_}"

# Inputs stay small: what they lead to is what takes time.
longest=256

fuzz() {
    local name=$1 log=$found/$1.log failed=0
    mkdir -p "$found/$name" "fuzz/corpus/$name"
    "$programs/fuzz_$name" -max_len=$longest -timeout=20 -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="$found/$name-" "$found/$name" "fuzz/corpus/$name" >"$log" 2>&1 || failed=1
    printf '%-14s %s executions, %s\n' "$name" \
        "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" \
        "$(grep -aoE 'cov: [0-9]+ ft: [0-9]+ corp: [^ ]+' "$log" | tail -1)"
    [ $failed -eq 0 ] || grep -aE '^broken promise|^SUMMARY|unit written' "$log" >&2
    return $failed
}

# Edges alone, not how often they were passed: a few hundred inputs instead of some thousands.
minimise() {
    local name=$1 fewest
    fewest=$(mktemp -d)
    mkdir -p "$found/$name"
    "$programs/fuzz_$name" -set_cover_merge=1 -use_counters=0 -max_len=$longest "$fewest" "fuzz/corpus/$name" \
        "$found/$name" >"$found/$name.merge.log" 2>&1
    rm -rf "fuzz/corpus/$name"
    mv "$fewest" "fuzz/corpus/$name"
    chmod 755 "fuzz/corpus/$name"
    printf '%-14s %s inputs\n' "$name" "$(find "fuzz/corpus/$name" -type f | wc -l)"
}

# Each fuzzer alone, then all of them together.
coverage() {
    local folder=$found/coverage name programs_used=()
    rm -rf "$folder"
    mkdir -p "$folder"
    for name in "${names[@]}"; do
        LLVM_PROFILE_FILE=$folder/$name.profraw "$programs/fuzz_$name" -runs=0 "fuzz/corpus/$name" \
            ${1:+"$found/$name"} >"$folder/$name.log" 2>&1
        programs_used+=(-object "$programs/fuzz_$name")
    done
    llvm-profdata-14 merge -o "$folder/all.profdata" "$folder"/*.profraw
    llvm-cov-14 report "${programs_used[@]:1}" -instr-profile="$folder/all.profdata" src include
}

status=0
case $mode in
coverage) coverage ;;
*) for name in "${names[@]}"; do $mode "$name" || status=1; done ;;
esac
exit $status
