# Programs build with what pkg-config says, with the shared library and with the static one.
. "$(dirname "$0")/common.sh"
needs pkg-config readelf g++

run_documented pkg_config >"$SCRATCH/pkg_config.txt"
expect_found 1 "$SCRATCH/pkg_config.txt"
needed_libraries "$checkout/find_the_part" | grep -qx "libptmatch.so.$MAJOR" ||
    fail 'the program does not use the shared library'

run_documented pkg_config_static >"$SCRATCH/pkg_config_static.txt"
expect_found 2 "$SCRATCH/pkg_config_static.txt"
if needed_libraries "$checkout/find_the_part_static" | grep ptmatch; then
    fail 'the program does not use the static library'
fi
[ -z "$(needed_libraries "$checkout/find_the_part_alone")" ] || fail 'the program is not static throughout'

version=$(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --modversion ptmatch)
[ "$version" = "$VERSION" ] || fail "pkg-config says version $version"
