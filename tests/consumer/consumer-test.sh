#!/usr/bin/env bash
# consumer-test.sh CMAKE BUILD-FOLDER PROJECT-FILE [FLAGS]: installs the library into a new folder,
# builds programs with it as others do, and runs them. What the library links, prints and leaves
# behind in its user's home is looked at from outside.
set -euo pipefail

cmake=$1 build=$2 sample=$3 flags=${4:-}
source=$(dirname "$(readlink -f "$0")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
ulimit -c 0

fail() {
    printf 'FAILED: %s\n' "$@"
    exit 1
}

# configure NAME [CMAKE ARGUMENT...]: a build of somebody else's against what is installed.
configure() {
    local name=$1
    shift
    "$cmake" -S "$source" -B "$folder/$name" -G Ninja -DCMAKE_PREFIX_PATH="$folder/installed" \
        -DCMAKE_CXX_FLAGS="$flags" "$@" >"$folder/$name.log" 2>&1
}

# foreign_libraries PROGRAM: what it is linked to besides the tree's and the checker's libraries,
# the C and C++ runtime, and a sanitizer where there is one.
foreign_libraries() {
    local allowed='lib(pugixml|expat)|lib(stdc\+\+|gcc_s|c|m|pthread|dl|rt)'
    allowed+='|linux-vdso|ld-linux-[a-z0-9-]+'
    if [[ -n $flags ]]; then allowed+='|lib(asan|ubsan|tsan)'; fi
    ldd "$1" | awk '{ sub(".*/", "", $1); print $1 }' | grep -vE "^($allowed)\.so" || true
}

# expect HOME STATUS OUTPUT ERRORS PROGRAM ARGUMENT...: the program says exactly that and nothing
# else.
expect() {
    local home=$1 expected=$2 output=$3 errors=$4 status=0
    shift 4
    HOME=$home XDG_RUNTIME_DIR=$home "$@" >"$folder/out" 2>"$folder/err" || status=$?
    { diff <(printf '%s' "$output") "$folder/out" && diff <(printf '%s' "$errors") "$folder/err"; } ||
        fail "${1##*/} ${2##*/} with HOME=$home prints something else"
    [[ $status -eq $expected ]] ||
        fail "${1##*/} ${2##*/} with HOME=$home exits with $status, not $expected"
}

"$cmake" --install "$build" --prefix "$folder/installed" --component library >/dev/null
# These it must not need, here or anywhere.
configure library -DPKG_CONFIG_EXECUTABLE=/bin/false \
    -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON || fail "$(cat "$folder/library.log")"
"$cmake" --build "$folder/library"

foreign=$(foreign_libraries "$folder/library/consumer")
[[ -z $foreign ]] || fail "the library brings along" "$foreign"

mkdir "$folder/home"
printf '<xmeml>\n\t<sequence>\n</xmeml>\n' >"$folder/broken.xml"
changes='collapseTracks: 16
collapseUncompositedClips: 18
importSafe: 60
removeDisabledAudioClips: 4
removeDisabledVideoClips: 7
removeUnusedTracks: 7
4 sequences, 32 steps
'
before=$(sha256sum "$sample")
for home in "$folder/home" /nonexistent; do
    rm -f "$folder/tidied.xml"
    expect "$home" 0 "$changes" '' "$folder/library/consumer" "$sample" "$folder/tidied.xml"
    [[ $(grep -c '<name>.*-Tidied</name>' "$folder/tidied.xml") -eq 4 ]] ||
        fail "the tidied file does not hold four copies"
    expect "$home" 1 '' "consumer: $folder/broken.xml:3:3: mismatched tag
" "$folder/library/consumer" "$folder/broken.xml" "$folder/none.xml"
    [[ ! -e $folder/none.xml ]] || fail "a file that could not be read was saved"
done
[[ $(sha256sum "$sample") == "$before" ]] || fail "the source was changed"
[[ -z $(ls -A "$folder/home") ]] || fail "the home is not as it was" "$(find "$folder/home")"

if configure early -DWITH_SHELL=ON; then fail "the shell is found before it is installed"; fi
grep -q 'The component shell of Reelsweep is not installed' "$folder/early.log" ||
    fail "$(cat "$folder/early.log")"

"$cmake" --install "$build" --prefix "$folder/installed" --component shell >/dev/null
configure shell -DWITH_SHELL=ON || fail "$(cat "$folder/shell.log")"
"$cmake" --build "$folder/shell"
# The shell brings along what the library must not: the look at the libraries can fail.
foreign_libraries "$folder/shell/shell-consumer" | grep -q '^libcurl\.so' ||
    fail "the shell's libraries go unnoticed"
# The alert is the document's, on the port that the program chose.
expect "$folder/home" 0 $'4 sequences\n' $'Processing complete: Please save the XML file.\n' \
    "$folder/shell/shell-consumer" "$sample"

status=0
message=$(HOME=$folder/home "$folder/shell/shell-consumer" --no-platform 2>&1) || status=$?
[[ $status -eq 134 && $message == *'main() calls Platform::install'* ]] ||
    fail "without a platform: $status" "$message"
