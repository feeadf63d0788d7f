#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
# SPDX-License-Identifier: MIT
# check-packages.sh DIR
#
# The Debian packages that dpkg-buildpackage left in DIR, checked before anyone installs them:
# lintian with every tag it has (pedantic and informational included) must say nothing; then
# what lintian cannot know about this project, on the packages' unpacked contents.
# (./run package-cycle installs, upgrades, removes and purges them in a chroot.)
set -euo pipefail

out=$1
scratch=$(mktemp -d "${TMPDIR:-/tmp}/kestrel-packages.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

# shellcheck source=packaging/checks.sh
source "$(dirname "$0")/checks.sh"

changes=("$out"/*.changes)
[ -f "${changes[0]}" ] || { echo "FAIL: no .changes in $out" >&2; exit 1; }
deb() { local f=("$out/$1"_*.deb); echo "${f[0]}"; }
for p in kestrel kestrelctl kestrel-sim kestrel-common; do
    [ -f "$(deb "$p")" ] || { echo "FAIL: no package $p in $out" >&2; exit 1; }
    dpkg-deb -x "$(deb "$p")" "$scratch/$p"
done

# ---- lintian: not a single tag, hardening ones included --------------------------------
lintian --pedantic --display-info --tag-display-limit 0 "${changes[@]}" >"$scratch/lintian" || true
check "lintian --pedantic --display-info: no tags" test ! -s "$scratch/lintian"
sed 's/^/    /' "$scratch/lintian"

# ---- the console front end needs no display --------------------------------------------
# Neither its Depends nor the libraries the program itself loads name Qt GUI or X.
gui='libqt6(gui|widgets|opengl)|libx11|libxcb|libgl|libegl|libwayland'
check "kestrelctl depends on no Qt GUI or X library" \
    bash -c '! dpkg-deb -f "$1" Depends | grep -Eq "$2"' _ "$(deb kestrelctl)" "$gui"
check "kestrelctl loads no Qt GUI or X library" \
    bash -c '! ldd "$1" | grep -Eq "$2"' _ "$scratch/kestrelctl/usr/lib/kestrel/kestrelctl" \
    "^\s*(libQt6(Gui|Widgets|OpenGL)|libX11|libxcb|libGL|libEGL|libwayland)[.-]"

# ---- the site's description in /etc --------------------------------------------------
common=$scratch/kestrel-common
check "Kestrel.ini is a conffile" \
    bash -c 'dpkg-deb --info "$1" conffiles | grep -qx /etc/kestrel/Kestrel.ini' _ \
    "$(deb kestrel-common)"
check "/usr/lib/kestrel/Kestrel.ini links to it" \
    test "$(readlink "$common/usr/lib/kestrel/Kestrel.ini")" = /etc/kestrel/Kestrel.ini
# The programs' own reader must find no system in the file as shipped.
ctl_out=$("$scratch/kestrelctl/usr/lib/kestrel/kestrelctl" --ini "$common/etc/kestrel/Kestrel.ini" \
    read 2>&1) && ctl_status=0 || ctl_status=$?
check "the shipped Kestrel.ini names no system (kestrelctl: status 2, \"names no System\")" \
    bash -c '[ "$1" -eq 2 ] && grep -q "names no System" <<<"$2"' _ "$ctl_status" "$ctl_out"

# ---- the window's desktop integration --------------------------------------------------
share=$scratch/kestrel/usr/share
desktop=("$share"/applications/*.desktop)
metainfo=("$share"/metainfo/*.metainfo.xml)
check "desktop entry valid" desktop-file-validate "${desktop[0]}"
check "AppStream metainfo valid (appstreamcli --pedantic)" \
    appstreamcli validate --pedantic --no-net "${metainfo[0]}"
check "metainfo launches the desktop entry" \
    grep -q "<launchable type=\"desktop-id\">$(basename "${desktop[0]}")</launchable>" \
    "${metainfo[0]}"
for size in 48 64 128 256; do
    check "icon ${size}x$size" bash -c 'file -b "$1" | grep -q "^PNG image data, $2 x $2,"' _ \
        "$share/icons/hicolor/${size}x$size/apps/kestrel.png" "$size"
done
no_display=$(env -i PATH=/usr/bin:/bin "$scratch/kestrel/usr/lib/kestrel/kestrel" 2>&1) &&
    kestrel_status=0 || kestrel_status=$?
check "kestrel without a display: one line about it, status not 0" \
    bash -c '[ "$1" -ne 0 ] && [ "$(wc -l <<<"$2")" -eq 1 ] && grep -q "no display" <<<"$2"' _ \
    "$kestrel_status" "$no_display"

# ---- manual pages match the programs ---------------------------------------------------
# The pages as man shows them, in plain ASCII.
man_page() {
    LC_ALL=C MANWIDTH=200 man -E ascii --no-hyphenation --no-justification \
        -l "$scratch/$1/usr/share/man/man1/$1.1.gz" 2>&1 | col -b
}
export -f man_page
export scratch
# Every option the program's --help lists (but Qt's --help-all) is in its page.
for p in kestrelctl kestrel-sim; do
    for option in $("$scratch/$p/usr/lib/kestrel/$p" --help | grep -Eo -- '--[a-z-]+' |
        grep -vx -- --help-all | sort -u); do
        check "$p(1) tells $option" bash -c 'man_page "$1" | grep -Eq -- "(^|[ ,\[])$2( |,|$)"' _ \
            "$p" "$option"
    done
done
check "kestrel-sim --version tells the package's version" \
    test "$("$scratch/kestrel-sim/usr/lib/kestrel/kestrel-sim" --version)" = \
    "kestrel-sim $(dpkg-deb -f "$(deb kestrel-sim)" Version | sed 's/-[^-]*$//')"
check "kestrel(1) has an EXIT STATUS section" bash -c 'man_page kestrel | grep -q "^EXIT STATUS"'
for p in kestrel kestrelctl kestrel-sim; do
    check "$p(1) shows no markup" bash -c '! man_page "$1" | grep -E "[*_][a-z-]+[*_]"' _ "$p"
done
for p in kestrel kestrelctl; do
    check "$p(1) says where Kestrel.ini lives" \
        bash -c 'man_page "$1" | grep -q "/etc/kestrel/Kestrel.ini"' _ "$p"
done

# ---- kestrelctl's completion ------------------------------------------------------------
mkdir "$scratch/shows"
touch "$scratch/shows/show.qvr" "$scratch/shows/notes.txt"
complete_line() { # the completions bash offers for the words given (the last one being typed)
    (cd "$scratch/shows" && bash -c '
        source /usr/share/bash-completion/bash_completion
        source "$1"; shift
        COMP_WORDS=("$@"); COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        COMP_LINE="$*"; COMP_POINT=${#COMP_LINE}
        _kestrelctl; echo "${COMPREPLY[*]}"' _ \
        "$scratch/kestrelctl/usr/share/bash-completion/completions/kestrelctl" "$@")
}
check "completion: commands" test "$(complete_line kestrelctl --quiet "")" = \
    "read load verify apply send watch"
check "completion: a command's options" test "$(complete_line kestrelctl apply --p)" = "--partial"
check "completion: tally files only" test "$(complete_line kestrelctl verify "")" = "show.qvr"

checks_end "all package checks passed"
