# Makes the reference of the headers twice and sees that it is whole; then with faults, each of which has
# to be told. Wants SOURCE, BUILD, SCRATCH, CMAKE, DOXYGEN.
set -eu

fail() {
    echo "reference: $*" >&2
    exit 1
}

# made SOURCE OUTPUT  makes the reference of a project.
made() {
    "$CMAKE" -D "DOXYGEN=$DOXYGEN" -D VERSION=1.2.3 -D "SOURCE=$1" -D "OUTPUT=$2" \
        -P "$SOURCE/cmake/make_reference.cmake"
}

rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
made "$SOURCE" "$SCRATCH/first"
made "$SOURCE" "$SCRATCH/again"
diff -r "$SCRATCH/first/html" "$SCRATCH/again/html" >"$SCRATCH/diff.txt" || fail 'not the same bytes again'

cd "$SCRATCH/first/html"
for place in "$SOURCE" "$BUILD"; do
    if grep -rIlF "$place" .; then
        fail "these files name $place"
    fi
done
for page in index.html classrxPointMatcher.html group__additions.html page-architecture.html \
    01_one_call_8cpp-example.html; do
    [ -s "$page" ] || fail "no page $page"
done
grep -ohE '(href|src)="[^"#]+' ./*.html | sed 's/^[^"]*"//' | grep -vE '^(https?|javascript):' | sort -u |
    while read -r target; do
        [ -e "$target" ] || fail "a link leads to $target, which is not there"
    done

# Headers with a fault each: line by line what is taken away, and what has to be told.
faulty=$SCRATCH/faulty
mkdir "$faulty"
cp -r "$SOURCE/include" "$SOURCE/docs" "$SOURCE/examples" "$faulty"
fault() {
    sed "$2" "$SOURCE/include/$1" >"$faulty/include/$1"
    ! cmp -s "$SOURCE/include/$1" "$faulty/include/$1" || fail "no fault in $1: $2"
}
fault ptmatch/matched_pairs.h '/^\/\/\/ The matched points of a result/,/^\/\/\/ Plain members/d'
fault ptmatch/score_hashing.h '/The positions held/d'
fault ptmatch/refit.h '/^\/\/\/ @param result/d'
fault ptmatch/run_cost.h 's/^\/\/\/ The size of a run/\/\/\/ @ref nowhere/'
fault ptmatch/summaries.h '/^\/\/\/ One result, on one line/d'
fault ptmatch/point_matcher_result.h '/Stores or loads a result\./,/keeps its values/d'
fault ptmatch/why_not.h 's/ *\/\/\/< nothing did.*//'
mkdir -p "$SCRATCH/kept/html"
if made "$faulty" "$SCRATCH/kept" >"$SCRATCH/faults.txt" 2>&1; then
    fail 'headers without comments pass'
fi
for line in 'Compound rxMatchedPairs is not documented' 'Member numResults() const .* is not documented' \
    "parameter 'result'" "reference to 'nowhere'" 'Member operator<<(.*Result &result) .* is not documented' \
    'Member operator||(.*Result &result) .* is not documented' 'value_without_comment'; do
    grep -q "$line" "$SCRATCH/faults.txt" || fail "not told: $line"
done
[ -z "$(ls "$SCRATCH/kept/html")" ] || fail 'a bad reference has replaced another one'

# A header that nobody has given a component.
cp "$SOURCE/include/ptmatch/refit.h" "$faulty/include/ptmatch/unheard_of.h"
if made "$faulty" "$SCRATCH/kept" >"$SCRATCH/unheard_of.txt" 2>&1; then
    fail 'a header without a component passes'
fi
grep -q 'unheard_of.h' "$SCRATCH/unheard_of.txt" || fail 'the header without a component is not named'
