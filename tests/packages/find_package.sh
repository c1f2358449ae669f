# A CMake project builds with the installed libraries; find_package refuses what it has to.
. "$(dirname "$0")/common.sh"
needs readelf

run_documented find_package >"$SCRATCH/find_package.txt" || fail "$(cat "$SCRATCH/find_package.txt")"
expect_found 2 "$SCRATCH/find_package.txt"
programs=$checkout/build/find_package
needed_libraries "$programs/find_the_part" | grep -qx "libptmatch.so.$MAJOR" ||
    fail 'ptmatch::ptmatch is not the shared library'
if needed_libraries "$programs/find_the_part_static" | grep ptmatch; then
    fail 'ptmatch::ptmatch_static is not the static library'
fi

mkdir -p "$SCRATCH/versions"
cat >"$SCRATCH/versions/CMakeLists.txt" <<'PROJECT'
cmake_minimum_required(VERSION 3.25)
project(versions LANGUAGES CXX)
function(expect found)
  find_package(ptmatch ${ARGN} CONFIG QUIET)
  if(NOT ptmatch_FOUND EQUAL found)
    message(FATAL_ERROR "find_package(ptmatch ${ARGN}): ptmatch_FOUND is ${ptmatch_FOUND}")
  endif()
endfunction()
math(EXPR next "${major} + 1")
expect(1 ${version})
expect(1 ${major})
expect(0 ${next})
expect(0 ${major}.999)
expect(0 COMPONENTS imaginary)
expect(1 COMPONENTS shared static)
PROJECT
cmake -S "$SCRATCH/versions" -B "$SCRATCH/versions/build" -DCMAKE_PREFIX_PATH="$prefix" \
    -Dversion="$VERSION" -Dmajor="$MAJOR" >"$SCRATCH/versions.txt"
