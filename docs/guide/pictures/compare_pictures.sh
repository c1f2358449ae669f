#!/usr/bin/env bash
# Makes the pictures of the guide in a folder and compares them with those of the repository.
# usage: compare_pictures.sh BUILD_DIRECTORY FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$2"
"$here/../../../scripts/make_guide_pictures.sh" "$1" "$2"
# Both ways: a picture that nothing makes any more is told, too.
diff -rq --exclude='*.cpp' --exclude='*.h' --exclude='*.txt' --exclude='*.sh' "$2" "$here"
