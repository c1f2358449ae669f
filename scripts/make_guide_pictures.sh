#!/usr/bin/env bash
# Makes the pictures of the guide again, all of them.
# usage: scripts/make_guide_pictures.sh BUILD_DIRECTORY [OUTPUT_FOLDER]
# The build has the tool and guide_pictures; the folder is docs/guide/pictures if none is given.
set -euo pipefail
build=$(cd "$1" && pwd)
if [ $# -gt 1 ]; then
    mkdir -p "$2"
    out=$(cd "$2" && pwd)
fi
cd "$(dirname "$0")/.."
out=${out:-$PWD/docs/guide/pictures}

# drawn NAME...: pictures that guide_pictures draws (docs/guide/pictures/NAME.cpp).
drawn() {
    local name
    for name; do
        "$build/docs/guide/pictures/guide_pictures" "$name" >"$out/$name.svg"
    done
}

# by_tool NAME COMMAND OPTION...: the picture of a command of the tool, without the time that it took.
by_tool() {
    local name=$1
    shift
    "$build/tool/ptmatch" "$@" --svg "$out/$name.svg" >/dev/null
    sed -i -e '/>time<\/text>$/d' -e '/>[0-9.]* s<\/text>$/d' "$out/$name.svg"
}

drawn what_matching_does votes_by_rotation grid_size capture_range coverage uncertainties weights several_instances
by_tool first_match match --model data/demo_pick/model.csv --data data/demo_pick/data.csv

drawn ways_of_lying exhaustive_growth nothing_is_found bent_board
by_tool grid_of_a_plate grid-map --data data/dots7x7/data.csv
by_tool staggered_sheet grid-match --pattern data/dots_staggered/pattern.txt \
    --data data/dots_staggered/data.csv
by_tool affine_residuals fit --pairs data/oblique_plate/pairs.csv --model affine
