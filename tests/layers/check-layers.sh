#!/usr/bin/env bash
# check-layers.sh ROOT: do the #includes of a source tree keep to the layers?
#
#   base < time < xml < timeline < tidy < report < documents < platform < services < hosts < shell
#   < cli, app
#
# What a program of somebody else's links ends at documents/, below everything that touches the
# machine or a person.
#
# An include points to the same layer or a lower one, and is written from the root. cli and app do
# not know each other. Only xml/ knows the XML libraries; bench/ measures beside them.
#
# Which ports there are is the choice of a program: no layer includes platform/posix/ or
# platform/qt/, only cli, app and the folders beside the layers (demo, bench, fuzz, tools, tests)
# do. Qt is for app/ and platform/qt/ alone. Nothing below cli and app prints, but for the ports.
# Prints FILE:LINE: MESSAGE for each offence. Exit 0: none, 1: some, 2: nothing to look at.
set -euo pipefail

cd "${1:?usage: check-layers.sh ROOT}"
layers="base time xml timeline tidy report documents platform services hosts shell cli app"
folders=()
for folder in $layers demo tests bench fuzz tools; do
    if [[ -d $folder ]]; then folders+=("$folder"); fi
done
((${#folders[@]})) || {
    echo "check-layers: no source folders in $PWD" >&2
    exit 2
}

include='^[[:space:]]*#[[:space:]]*include'
printing='v?f?printf|f?puts|putchar|perror|v?syslog|stdout|stderr|STD(OUT|ERR)_FILENO'
printing="(^|[^A-Za-z0-9_])($printing)([^A-Za-z0-9_]|\$)"
status=0
lines=$(grep -rnE "$include|$printing" --include='*.h' --include='*.cpp' --include='*.hpp' \
    --include='*.cc' --include='*.in' "${folders[@]}") || status=$?
((status == 0)) || {
    echo "check-layers: no includes found in $PWD" >&2
    exit 2
}

awk -v layers="$layers" -v include="$include" -v printing="$printing" '
BEGIN {
    count = split(layers, names, " ")
    for (i = 1; i <= count; ++i) height[names[i]] = i
    height["app"] = height["cli"]
}
function offence(message) {
    print place ": " message
    found = 1
}
{
    split($0, parts, ":")
    place = parts[1] ":" parts[2]
    folder = parts[1]
    sub("/.*", "", folder)
    isLayer = folder in height
    atTop = isLayer && height[folder] == height["cli"]
    isQtPort = parts[1] ~ /^platform\/qt\//
    isPort = parts[1] ~ /^platform\/(posix|qt)\//

    text = $0
    sub(/^[^:]*:[0-9]*:/, "", text)
    if (text !~ include) {
        sub(/\/\/.*/, "", text)
        if (text ~ printing && isLayer && !atTop && !isPort)
            offence(folder "/ may not print")
        next
    }
    sub(/^[^#]*#[ \t]*include[ \t]*/, "", text)
    quoted = text ~ /^"/
    target = substr(text, 2)
    sub(/[">].*/, "", target)
    first = target
    sub("/.*", "", first)

    isXML = target ~ /^(pugixml|pugiconfig|expat|expat_external)\.h(pp)?$/
    if (isXML && folder != "xml" && folder != "bench")
        offence("only xml/ may include " target)
    if (!isLayer) next

    isQt = target ~ /^Q[A-Z][A-Za-z]*$/ || target ~ /^Qt[A-Za-z0-9]*\// || target ~ /^q[a-z]+\.h$/
    if (isQt && folder != "app" && !isQtPort)
        offence("only app/ and platform/qt/ may include Qt (" target ")")
    if ((target == "iostream" || target == "print") && !atTop)
        offence(folder "/ may not print (" target ")")
    if (target ~ /^platform\/posix\// && !atTop && !isPort)
        offence("only programs and ports may include " target)
    if (target ~ /^platform\/qt\// && folder != "app" && !isQtPort)
        offence("only app/ may include " target)

    if (first in height && target != first) {
        if (height[first] > height[folder])
            offence(folder "/ is below " first "/ and may not include " target)
        else if (height[first] == height[folder] && first != folder)
            offence(folder "/ may not include " target)
    } else if (quoted) {
        offence("\"" target "\" is not written from the root of a layer")
    }
}
END { exit found }
' <<<"$lines"
