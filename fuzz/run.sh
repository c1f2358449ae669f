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
        name=${name#fuzz_}
        # The tool is no part of the library.
        [[ $mode = coverage && $name =~ ^(options|tables)$ ]] || names+=("$name")
    done
fi

found=$PWD/build/fuzz-found
programs=$PWD/build/$preset/fuzz
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target "${names[@]/#/fuzz_}"

# Counts of lines are wanted of saved inputs alone.
export LLVM_PROFILE_FILE=/dev/null
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
    # Whole, whatever their length: what is cut is another input. A merge that fails leaves all as it is.
    if ! "$programs/fuzz_$name" -set_cover_merge=1 -use_counters=0 "$fewest" "fuzz/corpus/$name" \
        "$found/$name" >"$found/$name.merge.log" 2>&1; then
        rm -rf "$fewest"
        printf '%-14s not minimised, see %s\n' "$name" "$found/$name.merge.log" >&2
        return 1
    fi
    rm -rf "fuzz/corpus/$name"
    mv "$fewest" "fuzz/corpus/$name"
    chmod 755 "fuzz/corpus/$name"
    printf '%-14s %s inputs\n' "$name" "$(find "fuzz/corpus/$name" -type f | wc -l)"
}

# A line counts once, whichever fuzzer reaches it. Functions of headers are different ones in each program,
# so that their counts cannot be merged before.
coverage() {
    local folder=$found/coverage name
    rm -rf "$folder"
    mkdir -p "$folder"
    for name in "${names[@]}"; do
        LLVM_PROFILE_FILE=$folder/$name.profraw "$programs/fuzz_$name" -runs=0 "fuzz/corpus/$name" \
            >"$folder/$name.log" 2>&1
        llvm-profdata-14 merge -o "$folder/$name.profdata" "$folder/$name.profraw"
        llvm-cov-14 export -format=lcov "$programs/fuzz_$name" -instr-profile="$folder/$name.profdata" \
            "$PWD/src" "$PWD/include" >"$folder/$name.lcov" 2>>"$folder/$name.log"
    done
    awk -F'[:,]' -v here="$PWD/" '
        /^SF:/ { file = $2; sub(here, "", file) }
        /^DA:/ { line = file ":" $2; of[line] = file; if ($3 > 0) reached[line] = 1 }
        END {
            for (line in of) { ++all; ++lines[of[line]]; if (line in reached) ++hit; else ++missed[of[line]] }
            for (file in missed) printf "%5d of %5d lines missed in %s\n", missed[file], lines[file], file | "sort -rn"
            close("sort -rn")
            printf "%d of %d lines reached, %.2f %%\n", hit, all, 100 * hit / all
        }' "$folder"/*.lcov
}

status=0
case $mode in
coverage) coverage ;;
*) for name in "${names[@]}"; do $mode "$name" || status=1; done ;;
esac
exit $status
