#!/usr/bin/env bash
# Shows that the layer check can fail: each row is a made-up tree with one line of interest.
set -euo pipefail

check=$(dirname "$(readlink -f "$0")")/check-layers.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0
rows=0

# line FILE TEXT EXPECTED: EXPECTED is the message behind "FILE:2: ", or empty for no offence.
line() {
    local file=$1 text=$2 expected=$3 status=0 answer
    local tree=$folder/tree$((rows += 1))
    mkdir -p "$tree/$(dirname "$file")" "$tree/platform"
    printf '#pragma once\n' >"$tree/platform/Ground.h"
    printf '#pragma once\n%s\n' "$text" >"$tree/$file"
    answer=$(bash "$check" "$tree" 2>&1) || status=$?
    if [[ -n $expected ]]; then expected="$file:2: $expected"; fi
    if [[ $answer != "$expected" || $status -ne $((${#expected} > 0)) ]]; then
        printf 'FAILED: %s in %s\n  expected: %s\n  answer:   %s (exit %d)\n' \
            "$text" "$file" "${expected:-nothing}" "${answer:-nothing}" "$status"
        failures=$((failures + 1))
    fi
}

# row FILE INCLUDE EXPECTED
row() { line "$1" "#include $2" "$3"; }

# Upwards, in steps and over several layers
row platform/Port.h '"services/QVLog.h"' \
    'platform/ is below services/ and may not include services/QVLog.h'
row base/Log.cpp '"services/QVLog.h"' \
    'base/ is below services/ and may not include services/QVLog.h'
row time/Frames.h '"xml/XMLNode.h"' 'time/ is below xml/ and may not include xml/XMLNode.h'
row xml/XMLNode.h '"timeline/Timeline.h"' \
    'xml/ is below timeline/ and may not include timeline/Timeline.h'
row timeline/TrackIndex.h '"tidy/PassTable.h"' \
    'timeline/ is below tidy/ and may not include tidy/PassTable.h'
row documents/Document.cpp '"platform/Platform.h"' \
    'documents/ is below platform/ and may not include platform/Platform.h'
row tidy/passes/Pass.cpp '"cli/Options.h"' 'tidy/ is below cli/ and may not include cli/Options.h'
row tidy/Run.h '<app/Window.h>' 'tidy/ is below app/ and may not include app/Window.h'
row platform/posix/Port.cpp '  "shell/Run.h"' \
    'platform/ is below shell/ and may not include shell/Run.h'
# Sideways
row cli/main.cpp '"app/Window.h"' 'cli/ may not include app/Window.h'
row app/main.cpp '"cli/Options.h"' 'app/ may not include cli/Options.h'
# Around the check
row tidy/Run.cpp '"Run.h"' '"Run.h" is not written from the root of a layer'
row services/QVLog.cpp '"../tidy/Run.h"' '"../tidy/Run.h" is not written from the root of a layer'
# XML libraries
row tidy/Run.cpp '<pugixml.hpp>' 'only xml/ may include pugixml.hpp'
row tests/engine/run_test.cpp '<expat.h>' 'only xml/ may include expat.h'
# Ports
for file in services/QVLog.cpp platform/Platform.cpp shell/Run.h; do
    row $file '"platform/posix/Port.h"' 'only programs and ports may include platform/posix/Port.h'
done
row hosts/Bridge.cpp '<platform/qt/Desktop.h>' 'only app/ may include platform/qt/Desktop.h'
row platform/posix/Port.cpp '"platform/qt/Desktop.h"' 'only app/ may include platform/qt/Desktop.h'
# Qt and printing
row services/QVAlert.cpp '<QMessageBox>' \
    'only app/ and platform/qt/ may include Qt (QMessageBox)'
row cli/main.cpp '<QtCore/QString>' 'only app/ and platform/qt/ may include Qt (QtCore/QString)'
row platform/posix/Port.cpp '<qobject.h>' 'only app/ and platform/qt/ may include Qt (qobject.h)'
row cli/main.cpp '"platform/qt/Desktop.h"' 'only app/ may include platform/qt/Desktop.h'
row tidy/Run.cpp '<iostream>' 'tidy/ may not print (iostream)'
line base/Log.cpp '    std::printf("%s", text);' 'base/ may not print'
line shell/Run.cpp 'std::fputs(text, file);  // a note' 'shell/ may not print'
line services/QVLog.h 'inline FILE* console = stdout;' 'services/ may not print'
line platform/Platform.cpp 'perror("platform");' 'platform/ may not print'
# Allowed
row services/QVLog.cpp '"platform/Port.h"' ''
row services/QVLog.cpp '"services/Format.h"' ''
row xml/XMLDocument.cpp '<pugixml.hpp>' ''
row bench/Bench.cpp '<pugixml.hpp>' ''
row cli/main.cpp '"tidy/Run.h"' ''
row cli/main.cpp '<iostream>' ''
line cli/main.cpp 'std::puts(text);' ''
line platform/posix/Port.cpp 'std::fputs(text, stderr);' ''
line base/Format.cpp 'std::snprintf(text, size, format);  // as printf does' ''
line tests/engine/run_test.cpp 'std::printf("text");' ''
row app/Window.cpp '<QMainWindow>' ''
row app/Window.cpp '"platform/qt/Desktop.h"' ''
row cli/main.cpp '"platform/posix/Port.h"' ''
row platform/posix/Port.cpp '"platform/posix/Other.h"' ''
row platform/qt/Desktop.h '"platform/posix/Port.h"' ''
row bench/Bench.cpp '"platform/posix/Port.h"' ''
row platform/qt/Desktop.cpp '<QtGui/QDesktopServices>' ''
row services/QVLog.cpp '<vector>' ''
row tests/engine/run_test.cpp '"tidy/Run.h"' ''

# A tree without sources is no clean tree.
mkdir "$folder/empty"
if bash "$check" "$folder/empty" >/dev/null 2>&1; then
    echo "FAILED: an empty tree passes"
    failures=$((failures + 1))
fi

echo "$rows trees, $failures failures"
((failures == 0))
