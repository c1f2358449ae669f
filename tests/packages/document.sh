# The projects that docs/packages.md shows are those of the examples.
. "$(dirname "$0")/common.sh"

files=$(sed -n 's/^<!-- file: \(.*\) -->$/\1/p' "$document")
[ -n "$files" ] || fail 'the document shows no file'
for file in $files; do
    documented file "$file" | diff - "$SOURCE/$file" || fail "$file is shown otherwise"
done
