# Compiles every installed header alone, as C++20 with warnings as errors.
# usage: headers.sh COMPILER
. "$(dirname "$0")/common.sh"
compiler=$1

include=$prefix/include/ptmatch-$MAJOR
bad=0
count=0
for header in "$include"/*/*.h; do
    name=${header#"$include/"}
    count=$((count + 1))
    echo "#include <$name>" |
        "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
            -I "$include" -x c++ - || { echo "does not compile alone: $name" >&2; bad=1; }
done
[ "$bad" = 0 ] || fail 'see above'
[ "$count" -gt 1 ] || fail "no headers in $include"
echo "$count headers"
