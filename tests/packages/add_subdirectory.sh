# A project that contains the library builds and runs.
#
# The whole library is compiled for this test alone: not optimised, and with the standard library's headers
# precompiled, which would be read again for each source. This makes it three times faster.
. "$(dirname "$0")/common.sh"

headers=$SCRATCH/standard_headers.h
for name in algorithm array bit cmath cstdint functional iostream limits map memory mutex numbers \
    numeric optional set span sstream string unordered_map utility variant vector; do
    echo "#include <$name>"
done >"$headers"
# Used with these flags only, which are those of the library; otherwise the plain header is read.
case $("$CXX" --version) in
*clang*) precompiled=$headers.pch ;;
*) precompiled=$headers.gch ;;
esac
"$CXX" -std=c++20 -fPIC -ffp-contract=off -Wpedantic -x c++-header "$headers" -o "$precompiled"

# "None" is a build type without flags of its own. A compiler cache has no use for what follows.
unset CMAKE_CXX_COMPILER_LAUNCHER
export CMAKE_BUILD_TYPE=None CMAKE_BUILD_PARALLEL_LEVEL=2 CXXFLAGS="-include $headers"
run_documented add_subdirectory >"$SCRATCH/add_subdirectory.txt" ||
    fail "$(tail -n 20 "$SCRATCH/add_subdirectory.txt")"
expect_found 1 "$SCRATCH/add_subdirectory.txt"
inside=$checkout/build/add_subdirectory
for part in tests tool examples; do
    [ ! -e "$inside/ptmatch/$part" ] || fail "$part of the library became a part of the project"
done

# It is installed with the project if that asks for it, and nothing else of its is.
cmake -S "$checkout/examples/packages/add_subdirectory" -B "$inside" -DPTMATCH_INSTALL=ON \
    >>"$SCRATCH/add_subdirectory.txt"
cmake --build "$inside" >>"$SCRATCH/add_subdirectory.txt"
cmake --install "$inside" --prefix "$SCRATCH/with_the_project" >>"$SCRATCH/add_subdirectory.txt"
[ -e "$SCRATCH/with_the_project/lib/cmake/ptmatch/ptmatchConfig.cmake" ] || fail 'not installed'
[ ! -e "$SCRATCH/with_the_project/bin" ] || fail 'a tool was installed'
[ ! -e "$inside/CPackConfig.cmake" ] || fail 'the library says how the project is packaged'
