#!/usr/bin/env bash
# on-display.sh COMMAND [ARGUMENT...]: runs a command on a virtual display of its own.
#
# The server chooses the display's number itself and tells it when it is ready, so there are no
# locks to race for and no signals to wait for. Only programs of the same user can connect.
set -euo pipefail

folder=$(mktemp -d)
server=
clean_up() {
    if [[ -n $server ]]; then
        kill "$server" 2>/dev/null || true
        wait "$server" || true
    fi
    rm -r "$folder"
}
trap clean_up EXIT

mkfifo "$folder/number"
# Open for both, so that nobody waits for the other end of the pipe to be opened.
exec 3<>"$folder/number"
Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp >"$folder/log" 2>&1 &
server=$!
if ! read -r -t 60 number <&3; then
    echo "on-display: no virtual display:" >&2
    cat "$folder/log" >&2
    exit 1
fi

# With no bus named at all, libdbus tries to start one for the display, and loses memory over it.
export DBUS_SESSION_BUS_ADDRESS=unix:path=$folder/no-bus
DISPLAY=:$number "$@" 3>&-
