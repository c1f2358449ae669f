# Builds the Debian packages as documented and compares content and dependencies with what they should be.
. "$(dirname "$0")/common.sh"
needs dpkg-deb dpkg-shlibdeps dpkg-parsechangelog file readelf

run_documented build_packages >"$SCRATCH/cpack.txt" 2>&1 || fail "$(cat "$SCRATCH/cpack.txt")"
packages=$checkout/build/packages
machine=$(dpkg --print-architecture)
full_version=$VERSION-1
[ "$(dpkg-parsechangelog -l "$SOURCE/packaging/debian/changelog" -S Version)" = "$full_version" ] ||
    fail 'the newest entry of packaging/debian/changelog is of another version'

package() { echo "$packages/$1_${full_version}_$machine.deb"; }
for name in "libptmatch$MAJOR" libptmatch-dev ptmatch-tool; do
    [ -e "$(package "$name")" ] || fail "no package $name of version $full_version"
done

# expect_files PACKAGE  compares the files of the package with the list on standard input.
expect_files() {
    {
        cat
        for document in changelog.gz changelog.Debian.gz copyright; do
            echo "./usr/share/doc/$1/$document"
        done
    } | sort >"$SCRATCH/expected.txt"
    dpkg-deb --fsys-tarfile "$(package "$1")" | tar -t | grep -v '/$' | sort |
        diff "$SCRATCH/expected.txt" - || fail "$1 holds other files"
    if dpkg-deb --contents "$(package "$1")" | grep -v ' root/root '; then
        fail "$1 has files that do not belong to root"
    fi
}

lib=./usr/lib/$ARCHITECTURE
expect_files "libptmatch$MAJOR" <<FILES
$lib/libptmatch.so.$MAJOR
$lib/libptmatch.so.$VERSION
FILES
configuration=$(find "$checkout/build/packages" -name 'ptmatchTargets-*.cmake' -printf '%f\n' | sort -u)
{
    sed "s|^\.|./usr/include/ptmatch-$MAJOR|" "$SCRATCH/headers.txt"
    for file in ptmatchConfig.cmake ptmatchConfigVersion.cmake ptmatchTargets.cmake "$configuration"; do
        echo "$lib/cmake/ptmatch/$file"
    done
    echo "$lib/libptmatch.a"
    echo "$lib/libptmatch.so"
    echo "$lib/pkgconfig/ptmatch.pc"
    if [ -e "$BUILD/reference/html" ]; then
        (cd "$BUILD/reference" && find html -type f | sed 's|^|./usr/share/doc/libptmatch-dev/|')
    fi
} | expect_files libptmatch-dev
expect_files ptmatch-tool <<FILES
./usr/bin/ptmatch
./usr/share/bash-completion/completions/ptmatch
./usr/share/man/man1/ptmatch.1.gz
FILES

if [ -n "$PYTHON" ]; then
    {
        (cd "$SOURCE/python/ptmatch" && find . -name '*.py' -o -name '*.pyi' -o -name py.typed) |
            sed "s|^\\./||"
        "$PYTHON" -c 'import sysconfig; print("_core" + sysconfig.get_config_var("EXT_SUFFIX"))'
    } | sed 's|^|./usr/lib/python3/dist-packages/ptmatch/|' >"$SCRATCH/python.txt"
    echo "./usr/lib/python3/dist-packages/ptmatch-$VERSION.dist-info/METADATA" >>"$SCRATCH/python.txt"
    expect_files python3-ptmatch <"$SCRATCH/python.txt"
fi

# expect_field PACKAGE FIELD PATTERN...  sees that the field has each of the extended expressions.
expect_field() {
    package=$1
    field=$2
    shift 2
    value=$(dpkg-deb --field "$(package "$package")" "$field")
    for pattern; do
        echo "$value" | grep -qE "(^|, )$pattern(,|\$)" || fail "$field of $package is: $value"
    done
}
expect_field "libptmatch$MAJOR" Depends 'libc6 \(>= .*\)' 'libstdc\+\+6 \(>= .*\)'
expect_field libptmatch-dev Depends "libptmatch$MAJOR \(= $full_version\)"
expect_field ptmatch-tool Depends "libptmatch$MAJOR \(>= $VERSION\)" 'libstdc\+\+6 \(>= .*\)'
dpkg-deb --ctrl-tarfile "$(package "libptmatch$MAJOR")" | tar -xO ./shlibs |
    grep -qx "libptmatch $MAJOR libptmatch$MAJOR (>= $full_version)" || fail 'shlibs'
dpkg-deb --ctrl-tarfile "$(package "libptmatch$MAJOR")" | tar -xO ./triggers |
    grep -qx 'activate-noawait ldconfig' || fail 'triggers'

dpkg-deb --fsys-tarfile "$(package ptmatch-tool)" | tar -xO ./usr/bin/ptmatch >"$SCRATCH/packaged_tool"
if readelf -d "$SCRATCH/packaged_tool" | grep -E 'RPATH|RUNPATH'; then
    fail 'the tool carries a path of libraries'
fi

if [ -n "$PYTHON" ]; then
    expect_field python3-ptmatch Depends 'python3 \(>= 3\.11\)' 'python3 \(<< 3\.12\)' \
        'python3-numpy \(>= 1:1\.24\)' 'libc6 \(>= .*\)' 'libstdc\+\+6 \(>= .*\)'
    expect_field python3-ptmatch Suggests python3-matplotlib
    rm -rf "$SCRATCH/unpacked"
    dpkg-deb --extract "$(package python3-ptmatch)" "$SCRATCH/unpacked"
    export PYTHONPATH="$SCRATCH/unpacked/usr/lib/python3/dist-packages"
    readme_runs_with "$PYTHON"
    "$PYTHON" -c "import importlib.metadata as m; assert m.version('ptmatch') == '$VERSION'"
fi
