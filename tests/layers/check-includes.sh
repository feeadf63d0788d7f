#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
# SPDX-License-Identifier: MIT
# Fails when an include points upward: each folder may include only its own and the folders
# before it in this order, lowest first. kestrel-sim includes nothing of the configurator, so
# that the tests compare two independent implementations.
set -u
cd "$(dirname "$0")/../.."
order=(core/model core/view core/config core/link core/matrix core/files core/events cli gui app)
rank() {
    local i
    for i in "${!order[@]}"; do [ "${order[$i]}" = "$1" ] && echo "$i" && return; done
    echo -1
}
# The folder an include names: "gui/X.h" is gui, "cli/X.h" is cli, "link/X.h" is core/link.
target_of() {
    case "$1" in gui/*) echo gui ;; cli/*) echo cli ;; */*) echo "core/${1%%/*}" ;; *) echo "" ;; esac
}
status=0
while IFS= read -r file; do
    folder=${file#src/}
    folder=${folder%/*}
    [ "${folder%%/*}" = core ] || folder=${folder%%/*}
    own=$(rank "$folder")
    while IFS= read -r inc; do
        target=$(target_of "$inc")
        [ -n "$target" ] || continue
        r=$(rank "$target")
        if [ "$r" -lt 0 ] || [ "$r" -gt "$own" ]; then
            echo "$file includes \"$inc\": $folder may not depend on $target" >&2
            status=1
        fi
    done < <(sed -n 's/^#include "\(.*\)"/\1/p' "$file")
done < <(find src -name '*.h' -o -name '*.cpp' | sort)
while IFS= read -r file; do
    if grep -Eq '^#include "(model|view|config|link|matrix|files|events|gui)/' "$file"; then
        echo "$file includes the configurator's own headers" >&2
        status=1
    fi
done < <(find tools/kestrel-sim -name '*.h' -o -name '*.cpp' | sort)
[ $status -eq 0 ] && echo "includes point downward: ${order[*]}"
exit $status
