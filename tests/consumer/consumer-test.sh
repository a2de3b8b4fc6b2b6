#!/usr/bin/env bash
# consumer-test.sh CMAKE BUILD-FOLDER PROJECT-FILE [FLAGS]: installs the library into a new folder,
# builds a program with it as others do, and runs that.
set -euo pipefail

cmake=$1 build=$2 sample=$3 flags=${4:-}
source=$(dirname "$(readlink -f "$0")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

"$cmake" --install "$build" --prefix "$folder/installed" --component library >/dev/null
"$cmake" -S "$source" -B "$folder/build" -G Ninja -DCMAKE_PREFIX_PATH="$folder/installed" \
    -DCMAKE_CXX_FLAGS="$flags" >/dev/null
"$cmake" --build "$folder/build"
HOME=$folder "$folder/build/consumer" "$sample"
