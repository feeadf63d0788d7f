#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
# SPDX-License-Identifier: MIT
# check-package.sh BUILD_DIR CMAKE CPACK WAITWINDOW XVFB_RUN
#
# Builds the Debian package of BUILD_DIR into a scratch folder, checks its control fields and
# contents, unpacks it into a scratch root and starts the configurator from there under Xvfb:
# offline with a port that does not exist, then online against the packaged kestrel-sim.
# Then installs BUILD_DIR to another prefix and checks that its links resolve the same way.
set -euo pipefail

build=$1 cmake=$2 cpack=$3 waitwindow=$4 xvfb=$5

scratch=$(mktemp -d "${TMPDIR:-/tmp}/kestrel-package.XXXXXX")
pids=()
cleanup() {
    local p
    for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done
    rm -rf "$scratch"
}
trap cleanup EXIT

failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
pass() { echo "ok:   $*"; }
check() { # check DESCRIPTION COMMAND...
    local what=$1
    shift
    if "$@"; then pass "$what"; else fail "$what"; fi
}
is_elf() { [ -f "$1" ] && [ -x "$1" ] && [ "$(head -c 4 "$1" | od -An -c | tr -d ' ')" = '177ELF' ]; }
# A link with a relative target that, followed inside the root, reaches the given file.
links_to() { # links_to ROOT LINK TARGET
    [ -L "$1$2" ] && [[ $(readlink "$1$2") != /* ]] &&
        [ "$(readlink -f "$1$2")" = "$(readlink -f "$1$3")" ]
}

# ---- the package -------------------------------------------------------------------------
if ! "$cpack" --config "$build/CPackConfig.cmake" -B "$scratch/out" >"$scratch/cpack.log" 2>&1; then
    cat "$scratch/cpack.log" >&2
    echo "FAIL: cpack" >&2
    exit 1
fi
debs=("$scratch"/out/*.deb)
[ ${#debs[@]} -eq 1 ] && [ -f "${debs[0]}" ] || { echo "FAIL: not exactly one .deb" >&2; exit 1; }
deb=${debs[0]}
echo "package: $(basename "$deb"), $(stat -c %s "$deb") bytes"

field() { dpkg-deb -f "$deb" "$1"; }
depends=$(field Depends)
echo "Depends: $depends"
arch=$(dpkg --print-architecture)
check "file name kestrel_<version>_$arch.deb" \
    test "$(basename "$deb")" = "kestrel_$(field Version)_$arch.deb"
check "Package kestrel" test "$(field Package)" = kestrel
check "Architecture $arch" test "$(field Architecture)" = "$arch"
check "Section video" test "$(field Section)" = video
check "Maintainer given" grep -q '<.*@.*>' <<<"$(field Maintainer)"
check "Description with a long part" test "$(field Description | wc -l)" -gt 3
# dpkg-shlibdeps must have found what the programs are linked against.
for lib in libc6 libstdc++6 libqt6core6 libqt6gui6 libqt6widgets6 libqt6serialport6 libxcb1; do
    check "depends on $lib" grep -Eq "(^|, )${lib//+/\\+}( |,|$)" <<<"$depends"
done
check "every path under /usr" \
    test -z "$(dpkg-deb -c "$deb" | awk '{print $6}' | grep -Ev '^\./(usr(/.*)?)?$')"

root=$scratch/root
dpkg-deb -x "$deb" "$root"
programs=/usr/lib/kestrel

# ---- the layout --------------------------------------------------------------------------
check "configurator in $programs" is_elf "$root$programs/kestrel"
check "kestrel-sim in $programs" is_elf "$root$programs/kestrel-sim"
check "/usr/bin/kestrel links to it" links_to "$root" /usr/bin/kestrel "$programs/kestrel"
check "/usr/bin/kestrel-sim links to it" links_to "$root" /usr/bin/kestrel-sim "$programs/kestrel-sim"
check "kestrelctl in $programs" is_elf "$root$programs/kestrelctl"
check "/usr/bin/kestrelctl links to it" links_to "$root" /usr/bin/kestrelctl "$programs/kestrelctl"
for p in kestrel kestrel-sim kestrelctl; do
    check "manual page $p(1)" bash -c 'gzip -dc "$1" | grep -q "^\.TH"' _ \
        "$root/usr/share/man/man1/$p.1.gz"
done
check "copyright file" grep -q '^Copyright: ' "$root/usr/share/doc/kestrel/copyright"
check "changelog of this version" bash -c 'gzip -dc "$1" | head -1 | grep -qF "($2)"' _ \
    "$root/usr/share/doc/kestrel/changelog.gz" "$(field Version)"
# Debian's own package checker: no error and no warning.
if command -v lintian >/dev/null; then
    check "lintian: no errors, no warnings" lintian --fail-on error,warning "$deb"
else
    echo "note: lintian not installed (./run package installs it); not checked"
fi
for p in kestrel kestrel-sim kestrelctl; do
    check "$p finds every library" \
        bash -c '! ldd "$1" 2>&1 | grep -q "not found"' _ "$root$programs/$p"
    check "$p stripped" bash -c '! LC_ALL=C readelf -S "$1" | grep -q "\.debug_info"' _ \
        "$root$programs/$p"
    check "$p carries no run path into the build" \
        bash -c '! LC_ALL=C readelf -d "$1" | grep -Eq "RPATH|RUNPATH"' _ "$root$programs/$p"
done
check "the package ships no Kestrel.ini" test ! -e "$root$programs/Kestrel.ini"

sample=$root$programs/Kestrel.ini.sample
check "Kestrel.ini.sample beside the programs" test -f "$sample"
check "sample names a system" grep -q $'^System=[^\r]' "$sample"
check "sample keeps the outputs and inputs" \
    test "$(grep -c '^Output [0-9]*=' "$sample")" -gt 0 -a "$(grep -c '^Input [0-9]*=' "$sample")" -gt 0
check "sample names no device" bash -c '! grep -qi "^CommDevice" "$1"' _ "$sample"
check "sample lines end in CR LF" \
    test "$(grep -c $'\r$' "$sample")" -eq "$(wc -l <"$sample")"
check "training table for kestrel-sim" test -s "$root/usr/share/kestrel/studio.qvr"

desktop=$root/usr/share/applications/kestrel.desktop
icon=$root/usr/share/icons/hicolor/scalable/apps/kestrel.svg
check "desktop entry" test -f "$desktop"
if command -v desktop-file-validate >/dev/null; then
    check "desktop entry valid (desktop-file-validate)" desktop-file-validate "$desktop"
else
    echo "note: desktop-file-validate not installed (package desktop-file-utils); key checks only"
fi
for key in Type=Application Name= Exec= Icon= Categories=; do
    check "desktop entry has $key" grep -q "^$key" "$desktop"
done
exec_name=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$desktop")
icon_name=$(sed -n 's/^Icon=//p' "$desktop")
check "Exec $exec_name is on PATH in the package" test -x "$root/usr/bin/$exec_name"
check "Icon $icon_name is in hicolor" \
    test "$root/usr/share/icons/hicolor/scalable/apps/$icon_name.svg" = "$icon" -a -s "$icon"
check "icon is an SVG document" grep -q '<svg[ >]' "$icon"

# ---- the installed configurator, offline -------------------------------------------------
# Started through its link on PATH, so it must find its program directory behind the link.
# A window counts once it is mapped and drawn into (kestrel-waitwindow): Qt creates the main
# window's native window, title and all, even when the start ends at "File Missing".
xrun() { "$xvfb" -a -s "-screen 0 1024x768x24" bash -c "$@"; }
run_missing='
    "$1" >"$2/missing.out" 2>&1 & app=$!
    "$3" "File Missing" 20000 >/dev/null || { echo "no File Missing box" >&2; exit 1; }
    ! "$3" Kestrel 1000 >/dev/null 2>&1 || { echo "window shown without Kestrel.ini" >&2; exit 1; }
    kill $app; wait $app 2>/dev/null; exit 0'
check "no Kestrel.ini: File Missing, no window" xrun "$run_missing" _ "$root/usr/bin/kestrel" \
    "$scratch" "$waitwindow"

# With the description beside the program the window comes up; "Port Conflict" follows only
# once Kestrel.ini was read and its device could not be opened.
{ cat "$sample"; printf 'CommDevice=%s\r\n' "$scratch/no-such-port"; } >"$root$programs/Kestrel.ini"
run_offline='
    "$1" >"$2/offline.out" 2>&1 & app=$!
    "$3" Kestrel 20000 || { echo "no Kestrel window" >&2; exit 1; }
    "$3" "Port Conflict" 20000 >/dev/null || { echo "no Port Conflict box" >&2; exit 1; }
    sleep 2
    kill -0 $app || { echo "the configurator ended" >&2; exit 1; }
    kill $app; wait $app 2>/dev/null; exit 0'
check "offline: window and Port Conflict shown, still running 2 s later" \
    xrun "$run_offline" _ "$root/usr/bin/kestrel" "$scratch" "$waitwindow"

# ---- the installed configurator, online against the installed kestrel-sim ----------------
link=$scratch/tty
"$root/usr/bin/kestrel-sim" --link "$link" --rows "$root/usr/share/kestrel/studio.qvr" \
    --log "$scratch/sim.log" --baud 0 >"$scratch/sim.out" 2>&1 &
pids+=($!)
for _ in $(seq 50); do [ -e "$link" ] && break; sleep 0.1; done
check "kestrel-sim from the package keeps its link" test -e "$link"
{ cat "$sample"; printf 'CommDevice=%s\r\n' "$link"; } >"$root$programs/Kestrel.ini"
rows=$(grep -c . "$root/usr/share/kestrel/studio.qvr")
run_online='
    "$1" >"$2/online.out" 2>&1 & app=$!
    "$3" Kestrel 20000 >/dev/null || { echo "no Kestrel window" >&2; exit 1; }
    # The start reads the whole table back: every row, then the first empty one.
    for _ in $(seq 100); do grep -q "RawMap $4\$" "$2/sim.log" && break; sleep 0.1; done
    grep -q "RawMap $4\$" "$2/sim.log" || { echo "no read-back past row $(($4 - 1))" >&2; exit 1; }
    kill -0 $app || { echo "the configurator ended" >&2; exit 1; }
    kill $app; wait $app 2>/dev/null; exit 0'
check "online: all $rows rows read back from the packaged kestrel-sim" \
    xrun "$run_online" _ "$root/usr/bin/kestrel" "$scratch" "$waitwindow" $((rows + 1))
check "online: the configurator asked for the version" grep -q ' VER$' "$scratch/sim.log"

# ---- an install to another prefix --------------------------------------------------------
stage=$scratch/stage
if DESTDIR=$stage "$cmake" --install "$build" --prefix /opt/kestrel >"$scratch/install.log" 2>&1; then
    check "install --prefix /opt/kestrel: programs in lib/kestrel" \
        is_elf "$stage/opt/kestrel/lib/kestrel/kestrel"
    check "install --prefix /opt/kestrel: bin/kestrel links to it" \
        links_to "$stage" /opt/kestrel/bin/kestrel /opt/kestrel/lib/kestrel/kestrel
    check "install --prefix /opt/kestrel: sample, desktop entry, icon" \
        test -f "$stage/opt/kestrel/lib/kestrel/Kestrel.ini.sample" \
        -a -f "$stage/opt/kestrel/share/applications/kestrel.desktop" \
        -a -f "$stage/opt/kestrel/share/icons/hicolor/scalable/apps/kestrel.svg"
else
    cat "$scratch/install.log" >&2
    fail "cmake --install --prefix /opt/kestrel"
fi

if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed" >&2
    exit 1
fi
echo "all package checks passed"
