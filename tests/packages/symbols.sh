# The shared library has its SONAME, gives every symbol its version, and offers no one else's symbols.
. "$(dirname "$0")/common.sh"
needs readelf nm

library=$prefix/lib/libptmatch.so
readelf -d "$library" | grep -q "(SONAME).*\[libptmatch\.so\.$MAJOR\]" || fail 'SONAME'
nm -D --defined-only --with-symbol-versions "$library" | awk '{ print $NF }' >"$SCRATCH/symbols.txt"
grep -q "^_ZN14rxPointMatcher5train" "$SCRATCH/symbols.txt" || fail 'rxPointMatcher::train is missing'
grep -q "^_ZTIN18rxPointMatcherDefs10NotTrainedE" "$SCRATCH/symbols.txt" || fail 'no type of NotTrained'
if grep -v "@@PTMATCH_$MAJOR\$" "$SCRATCH/symbols.txt" | grep -v "^PTMATCH_$MAJOR\(@\|\$\)"; then
    fail 'these symbols have no version'
fi
if grep -E '^_Z(N|NK|T[ISVT]N?|Z|ZN|ZNK|GVN|GVZN)?(St|9__gnu_cxx)' "$SCRATCH/symbols.txt"; then
    fail "these symbols belong to the standard library"
fi
echo "$(wc -l <"$SCRATCH/symbols.txt") symbols"
