# Read by the scripts of this folder. CTest gives SOURCE, BUILD, SCRATCH, CXX, VERSION, MAJOR, ARCHITECTURE,
# and PYTHON, which is empty where there is no Python package.
#
# The commands of docs/packages.md run in $SCRATCH/checkout, which holds links to everything in the
# checkout but its builds; there build/release is the build that is tested.
set -eu
document=$SOURCE/docs/packages.md
checkout=$SCRATCH/checkout
prefix=$SCRATCH/ptmatch

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

skip() {
    echo "SKIPPED: $*"
    exit 77
}

needs() {
    for program; do
        command -v "$program" >/dev/null || skip "$program is not installed"
    done
}

# documented KIND NAME  prints the block of the document that follows the comment `KIND: NAME`.
documented() {
    awk -v comment="<!-- $1: $2 -->" '
        inside && /^```$/ { exit }
        inside            { print }
        wanted && /^```/  { inside = 1 }
        { wanted = $0 == comment }' "$document"
}

# run_documented NAME [FOLDER]  runs the commands up to the first that fails; FOLDER stands where they say
# /opt/ptmatch. Programs in $SCRATCH/bin go before those of the system.
run_documented() {
    documented run "$1" | sed "s|/opt/ptmatch|${2:-$prefix}|g" >"$SCRATCH/$1.sh"
    [ -s "$SCRATCH/$1.sh" ] || fail "$document has no commands called $1"
    (cd "$checkout" && PATH=$SCRATCH/bin:$PATH sh -eux "$SCRATCH/$1.sh")
}

# The programs of the examples check the pose themselves; here it is seen that they said so.
expect_found() {
    count=$(grep -c '^found: coverage 1, turned by 90 degrees' "$2") || true
    [ "$count" = "$1" ] || fail "$count of $1 programs found the part"
}

needed_libraries() {
    readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'
}

# readme_runs_with PYTHON  runs the Python program of the README away from the checkout, with what the
# interpreter finds by itself or in PYTHONPATH.
readme_runs_with() {
    awk '/^```$/ { inside = 0 } inside; /^```python$/ { inside = 1 }' "$SOURCE/README.md" >"$SCRATCH/readme.py"
    [ -s "$SCRATCH/readme.py" ] || fail 'README.md has no Python program'
    mkdir -p "$SCRATCH/elsewhere"
    (cd "$SCRATCH/elsewhere" && "$1" -B -X dev -W error "$SCRATCH/readme.py") >"$SCRATCH/readme.txt" ||
        fail 'the Python program of the README does not run'
    head -n 1 "$SCRATCH/readme.txt" | grep -qx '1.0 of the pattern, turned by 90.0 degrees' ||
        fail "the Python program of the README prints: $(cat "$SCRATCH/readme.txt")"
}
