# Installs as documented, moves the tree, and sees that nothing in it tells where it was.
. "$(dirname "$0")/common.sh"

rm -rf "$SCRATCH"
mkdir -p "$checkout/build"
for entry in "$SOURCE"/*; do
    case $(basename "$entry") in
    build | out) ;;
    *) ln -s "$entry" "$checkout/" ;;
    esac
done
ln -s "$BUILD" "$checkout/build/release"

first=$SCRATCH/before_the_move
run_documented install "$first" >"$SCRATCH/install.txt"
mv "$first" "$prefix"

for place in "$SCRATCH" "$SOURCE" "$BUILD"; do
    if grep -rlF "$place" "$prefix"; then
        fail "these files name $place"
    fi
done
(cd "$SOURCE/include" && find . -name '*.h' | sort) >"$SCRATCH/headers.txt"
(cd "$prefix/include/ptmatch-$MAJOR" && find . -type f | sort) >"$SCRATCH/installed_headers.txt"
cmp "$SCRATCH/headers.txt" "$SCRATCH/installed_headers.txt" || fail 'other headers than in include'

if [ -e "$prefix/bin/ptmatch" ]; then
    if command -v readelf >/dev/null; then
        readelf -d "$prefix/bin/ptmatch" | grep -q 'RUNPATH.*\[\$ORIGIN/\.\./lib[^:]*\]' ||
            fail 'the tool does not look for the library beside itself alone'
    fi
    printf '0,0\n4,0\n4,3\n' >"$SCRATCH/points.csv"
    "$prefix/bin/ptmatch" match --model "$SCRATCH/points.csv" --data "$SCRATCH/points.csv" \
        >"$SCRATCH/match.txt" || fail 'the tool does not run from where it was moved to'
fi

# Staged for another prefix: the same tree.
run_documented stage >"$SCRATCH/stage.txt"
(cd "$checkout/staging/usr" && find . ! -type d | sort) >"$SCRATCH/staged.txt"
(cd "$prefix" && find . ! -type d | sort) >"$SCRATCH/installed.txt"
cmp "$SCRATCH/staged.txt" "$SCRATCH/installed.txt" || fail 'staged and installed trees differ'
