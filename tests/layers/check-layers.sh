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
# not know each other. Only xml/ knows the XML libraries; bench/ measures beside them. Qt is for app/
# and platform/qt/, which only app/ may include. Nothing below cli and app prints.
# Prints FILE:LINE: MESSAGE for each offence. Exit 0: none, 1: some, 2: nothing to look at.
set -euo pipefail

cd "${1:?usage: check-layers.sh ROOT}"
folders=()
for folder in base time xml timeline tidy report documents platform services hosts shell cli app demo tests bench fuzz tools; do
    if [[ -d $folder ]]; then folders+=("$folder"); fi
done
((${#folders[@]})) || {
    echo "check-layers: no source folders in $PWD" >&2
    exit 2
}

status=0
includes=$(grep -rnE '^[[:space:]]*#[[:space:]]*include' "${folders[@]}" \
    --include='*.h' --include='*.cpp' --include='*.hpp' --include='*.cc' --include='*.in') || status=$?
((status == 0)) || {
    echo "check-layers: no includes found in $PWD" >&2
    exit 2
}

awk '
BEGIN {
    count = split("base time xml timeline tidy report documents platform services hosts shell cli app", names, " ")
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

    text = $0
    sub(/^[^#]*#[ \t]*include[ \t]*/, "", text)
    quoted = text ~ /^"/
    target = substr(text, 2)
    sub(/[">].*/, "", target)
    first = target
    sub("/.*", "", first)

    if (target ~ /^(pugixml|pugiconfig|expat|expat_external)\.h(pp)?$/ && folder != "xml" && folder != "bench")
        offence("only xml/ may include " target)
    if (!(folder in height)) next

    atTop = height[folder] == height["cli"]
    isQt = target ~ /^Q[A-Z][A-Za-z]*$/ || target ~ /^Qt[A-Za-z0-9]*\// || target ~ /^q[a-z]+\.h$/
    if (isQt && folder != "app" && parts[1] !~ /^platform\/qt\//)
        offence("only app/ and platform/qt/ may include Qt (" target ")")
    if ((target == "iostream" || target == "print") && !atTop)
        offence(folder "/ may not print (" target ")")
    if (target ~ /^platform\/qt\// && folder != "app" && parts[1] !~ /^platform\/qt\//)
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
' <<<"$includes"
