# The wheel is built and installed as documented and works in its new environment; the package that CMake
# installed works, too; a source archive is complete.
. "$(dirname "$0")/common.sh"
export PIP_DISABLE_PIP_VERSION_CHECK=1 PIP_NO_INDEX=1
unset PYTHONPATH
"$PYTHON" -c 'import pip' 2>/dev/null || skip 'pip is not installed'

rm -rf "$checkout/build/wheels" "$checkout/build/environment"
run_documented wheel >"$SCRATCH/wheel.txt" 2>&1 || fail "$(cat "$SCRATCH/wheel.txt")"
grep -qx "$VERSION" "$SCRATCH/wheel.txt" || fail 'the installed package is of another version'
readme_runs_with "$checkout/build/environment/bin/python"
wheel=$(echo "$checkout"/build/wheels/*.whl)
case $(basename "$wheel") in
"ptmatch-$VERSION-cp311-cp311-linux_$(uname -m).whl") ;;
*) fail "the wheel is called $wheel" ;;
esac
{
    (cd "$SOURCE/python" && find ptmatch -name '*.py' -o -name '*.pyi' -o -name py.typed)
    "$PYTHON" -c 'import sysconfig; print("ptmatch/_core" + sysconfig.get_config_var("EXT_SUFFIX"))'
    for file in METADATA RECORD WHEEL; do
        echo "ptmatch-$VERSION.dist-info/$file"
    done
} | sort >"$SCRATCH/expected.txt"
"$PYTHON" -m zipfile -l "$wheel" | awk 'NR > 1 { print $1 }' | sort | diff "$SCRATCH/expected.txt" - ||
    fail 'the wheel holds other files'
# pip itself compares what it installs with nothing; RECORD is for those who do.
"$PYTHON" - "$wheel" <<'PROGRAM' || fail 'RECORD is wrong'
import base64, hashlib, sys, zipfile
with zipfile.ZipFile(sys.argv[1]) as wheel:
    record = next(name for name in wheel.namelist() if name.endswith("/RECORD"))
    lines = [line.split(",") for line in wheel.read(record).decode().splitlines()]
    assert sorted(line[0] for line in lines) == sorted(wheel.namelist())
    for name, digest, size in lines:
        if name == record:
            continue
        content = wheel.read(name)
        encoded = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=")
        assert (digest, size) == ("sha256=" + encoded.decode(), str(len(content))), name
PROGRAM

# The tree was moved after it was installed.
PYTHONPATH=$prefix/lib/python3/dist-packages readme_runs_with "$PYTHON"

# The source archive has all that the module was compiled from, as far as the build took notes of it; CMake
# finds all that it asks for; and the metadata are the same, so that of this build comes the same wheel.
archive=$SCRATCH/source_archive
rm -rf "$archive"
mkdir "$archive"
PYTHONPATH=$SOURCE/python/packaging "$PYTHON" -B -c \
    "import ptmatch_build; ptmatch_build.build_sdist('$archive')"
tar -xzf "$archive/ptmatch-$VERSION.tar.gz" -C "$archive"
if [ -e "$BUILD/.ninja_deps" ]; then
    ninja -C "$BUILD" -t deps |
        awk '/^[^ ]/ { is_ours = /^(src|python)\// } is_ours && /^ / { print $1 }' |
        (cd "$BUILD" && xargs realpath --relative-to="$SOURCE") |
        grep -E '^(include|src|python)/' | sort -u >"$SCRATCH/compiled.txt"
    grep -qx include/ptmatch/ppmatch.h "$SCRATCH/compiled.txt" || fail 'the build has no notes of headers'
    (cd "$archive/ptmatch-$VERSION" && find . -type f) | sed 's|^\./||' | sort |
        comm -23 "$SCRATCH/compiled.txt" - >"$SCRATCH/lacking.txt"
    [ ! -s "$SCRATCH/lacking.txt" ] || fail "the source archive lacks $(cat "$SCRATCH/lacking.txt")"
fi
(cd "$archive/ptmatch-$VERSION" && PTMATCH_BUILD_DIR=$BUILD "$PYTHON" -m pip wheel . \
    --no-build-isolation --no-deps --wheel-dir "$archive") >"$SCRATCH/source_archive.txt" 2>&1 ||
    fail "$(cat "$SCRATCH/source_archive.txt")"
cmp "$wheel" "$archive/$(basename "$wheel")" || fail 'the source archive makes another wheel'
cmake -S "$archive/ptmatch-$VERSION" -B "$archive/build" -DPTMATCH_BUILD_PYTHON=ON \
    -DPTMATCH_BUILD_TESTS=OFF -DPTMATCH_BUILD_TOOL=OFF -DPTMATCH_BUILD_EXAMPLES=OFF \
    >"$SCRATCH/source_archive.txt" 2>&1 || fail "$(cat "$SCRATCH/source_archive.txt")"
