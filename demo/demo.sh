#!/usr/bin/env bash
# demo.sh PROGRAMS FOLDER: the native flow on the command line, with the demo host in place of the
# editing application. Runs inside dbus-run-session.
set -euo pipefail
programs=$1 folder=$2
export HOME=$folder/home

rm -rf "$folder"
mkdir -p "$HOME"
folder=$(readlink -f "$folder")
HOME=$folder/home
for name in harbour pier; do cp resources/sample/harbour.xml "$folder/$name.fcp"; done

coproc host { exec "$programs/reelsweep-demo-host" --open-all "$folder"; }
host_process=$!
trap 'kill "$host_process"' EXIT
while IFS= read -r line <&"${host[0]}"; do
    echo "host: $line"
    if [[ $line == ready ]]; then break; fi
done

show() {
    printf '\n$ reelsweep-cli %s\n' "$*"
    "$programs/reelsweep-cli" "$@"
}
show projects
show list "$folder/harbour.fcp"
show tidy "$folder/harbour.fcp" --passes all --sequence 1
show list "$folder/harbour.fcp"

printf '\nopened in the host:\n'
cat "$folder/opened-items"
