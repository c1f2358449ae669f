# Installs the packages as documented, with dpkg, into a root of their own; uses them; removes them again.
. "$(dirname "$0")/common.sh"
needs dpkg
[ "$(id -u)" = 0 ] || skip 'dpkg installs for root only'

root=$SCRATCH/root
rm -rf "$root"
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$SCRATCH/bin"
: >"$root/var/lib/dpkg/status"

# Stand-ins for two programs of the system. The scripts of the packages call ldconfig, and the system's
# cache is none of our business: this one takes down that it was called. And the documented commands are
# meant for the system's own root. The new one has no libc: that the packages depend on the right ones is
# seen in another test.
cat >"$SCRATCH/bin/ldconfig" <<PROGRAM
#!/bin/sh
echo called >>"$SCRATCH/ldconfig.txt"
PROGRAM
cat >"$SCRATCH/bin/sudo" <<PROGRAM
#!/bin/sh
[ "\$1" = dpkg ] || exit 1
shift
exec dpkg --root="$root" --log="$SCRATCH/dpkg.log" --force-depends --force-script-chrootless "\$@"
PROGRAM
chmod +x "$SCRATCH/bin/ldconfig" "$SCRATCH/bin/sudo"
trap 'rm -f "$SCRATCH/bin/ldconfig" "$SCRATCH/bin/sudo"' EXIT
rm -f "$SCRATCH/ldconfig.txt"

status() {
    dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${db:Status-Status}\n' "$1"
}
names="libptmatch$MAJOR libptmatch-dev ptmatch-tool ${PYTHON:+python3-ptmatch}"

run_documented install_packages
for name in $names; do
    [ "$(status "$name")" = installed ] || fail "$name is $(status "$name")"
done
[ "$(wc -l <"$SCRATCH/ldconfig.txt")" = 1 ] || fail 'ldconfig was not called once'

LD_LIBRARY_PATH="$root/usr/lib/$ARCHITECTURE" "$root/usr/bin/ptmatch" match \
    --model "$SCRATCH/points.csv" --data "$SCRATCH/points.csv" >"$SCRATCH/packaged_match.txt" ||
    fail 'the tool does not run'
cmake -S "$SOURCE/examples/packages/find_package" -B "$SCRATCH/packaged" \
    -DCMAKE_PREFIX_PATH="$root/usr" >"$SCRATCH/packaged.txt"
grep -q "^ptmatch_DIR:PATH=$root/usr/lib/$ARCHITECTURE/cmake/ptmatch\$" "$SCRATCH/packaged/CMakeCache.txt" ||
    fail 'CMake found another library'
cmake --build "$SCRATCH/packaged" --target find_the_part >>"$SCRATCH/packaged.txt"
"$SCRATCH/packaged/find_the_part" >"$SCRATCH/packaged_program.txt"
expect_found 1 "$SCRATCH/packaged_program.txt"

run_documented remove_packages
left=$(find "$root/usr" ! -type d 2>/dev/null || true)
[ -z "$left" ] || fail "left behind: $left"
for name in $names; do
    if state=$(status "$name" 2>/dev/null); then
        # The scripts stay known until a purge; configuration files there are none.
        [ "$state" = config-files ] || [ "$state" = not-installed ] || fail "$name is $state"
    fi
done
[ "$(wc -l <"$SCRATCH/ldconfig.txt")" = 2 ] || fail 'ldconfig was not called after the removal'
