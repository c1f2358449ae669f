#!/usr/bin/env bash
# Builds the library in many ways, with each compiler that is there, and checks that its answers are
# the same to the last bit: at -O0, -O2 and -O3, with the instructions of this machine, with fused
# multiplication, with sanitizers, and with each vote kernel. Prints one line per way.
#
#   scripts/check_determinism.sh                  in a folder of its own, which goes afterwards
#   scripts/check_determinism.sh FOLDER [WAY]...  there, where builds stay; only the ways named
#
# Exit code: 0 if something was compared, and all digests are equal to those in tests/determinism/digests.txt.
# Where the sines and logarithms of the system are others than there, give digests of its own:
# ptmatch_digest > FILE, of any build, and DIGESTS=FILE.
# Compilers: CXX_COMPILERS="g++ clang++" or what that variable says. Takes about half an hour of one core.
set -euo pipefail
source=$(cd "$(dirname "$0")/.." && pwd)
if [ "${1-}" = --help ] || [ "${1-}" = -h ]; then
    sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0"
    exit
fi
if [ $# -gt 0 ]; then
    folder=$1
    shift
    mkdir -p "$folder"
else
    folder=$(mktemp -d)
    trap 'rm -rf "$folder"' EXIT
fi
wanted=$*
compilers=${CXX_COMPILERS:-g++ clang++}
expected=${DIGESTS:-$source/tests/determinism/digests.txt}
failures=0
comparisons=0

# compare WAY PROGRAM: with each kernel; a kernel that this machine does not run is passed over.
compare() {
    local kernel code output
    for kernel in portable avx2 avx512; do
        code=0
        output=$(PTMATCH_KERNEL=$kernel "$2" "$expected" 2>&1) || code=$?
        case $code in
        0)
            printf '%-28s %-9s %s\n' "$1" "$kernel" "$(tail -n1 <<<"$output")"
            comparisons=$((comparisons + 1))
            ;;
        77) printf '%-28s %-9s passed over: %s\n' "$1" "$kernel" "$(head -n1 <<<"$output")" ;;
        *)
            printf '%-28s %-9s DIFFERS\n%s\n' "$1" "$kernel" "$output"
            failures=$((failures + 1))
            ;;
        esac
    done
}

# check NAME FLAGS [OPTION]...: builds and compares, with each compiler.
check() {
    local name=$1 flags=$2 compiler way build
    shift 2
    for compiler in $compilers; do
        way=$(basename "$compiler").$name
        case " $wanted " in
        "  " | *" $way "*) ;;
        *) continue ;;
        esac
        build=$folder/$way
        if ! { cmake -S "$source" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
            -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="$flags" -DPTMATCH_COMPILE_TOGETHER=library \
            -DPTMATCH_BUILD_TOOL=OFF -DPTMATCH_BUILD_EXAMPLES=OFF -DPTMATCH_INSTALL=OFF "$@" &&
            cmake --build "$build" --target ptmatch_digest -j "${JOBS:-1}"; } >"$build.log" 2>&1; then
            tail -n 20 "$build.log"
            printf '%-28s cannot be built\n' "$way"
            failures=$((failures + 1))
            continue
        fi
        compare "$way" "$build/tests/determinism/ptmatch_digest"
    done
}

check O0 "-O0"
check O2 "-O2 -DNDEBUG"
check O3 "-O3 -DNDEBUG"
check O3-native "-O3 -DNDEBUG -march=native"
if grep -qw fma /proc/cpuinfo 2>/dev/null; then check O2-avx2-fma "-O2 -DNDEBUG -mavx2 -mfma"; fi
check O0-sanitized "-O0 -g1" -DPTMATCH_SANITIZE=ON

if [ "$comparisons" -eq 0 ]; then
    echo "nothing was compared: no such way, compiler or kernel" >&2
    exit 1
fi
if [ "$failures" -gt 0 ]; then
    echo "$failures of the builds differ, cannot be compared or cannot be built" >&2
    exit 1
fi
echo "all $comparisons equal"
