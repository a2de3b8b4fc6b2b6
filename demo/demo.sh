#!/usr/bin/env bash
# demo.sh PROGRAMS FOLDER: the native flow with the demo host in place of the editing application:
# on the command line, and in a window where there is a display. Runs inside dbus-run-session.
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

if [[ -z ${DISPLAY:-}${WAYLAND_DISPLAY:-} ]]; then
    printf '\nThere is no display, so the second project is not opened in a window.\n'
    exit
fi
printf '\nThe second project is open in a window: tick, process, and see here what the host does.\n'
exec 4<&"${host[0]}"  # a job in the background does not get the other one
cat <&4 &
"$programs/reelsweep" "$folder/pier.fcp"
