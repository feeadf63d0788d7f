#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
# SPDX-License-Identifier: MIT
# package-cycle.sh DIR PREVIOUS_DEB
#
# The packages in DIR installed, upgraded, removed and purged by apt in a Debian 12 chroot
# (debootstrap --variant=minbase, kept in KESTREL_CHROOT_BASE between runs), two ways:
#  upgrade   PREVIOUS_DEB (the single package of 7.4.2, whose site's Kestrel.ini sat in
#            /usr/lib/kestrel, owned by no package) with a site's file, upgraded to DIR's four
#            packages: the file is /etc/kestrel/Kestrel.ini, unchanged, and the programs read
#            it through the link; removed: it stays; purged: it goes, and the chroot holds no
#            file that it did not hold before the first install.
#  headless  kestrelctl alone on a fresh chroot: no Qt GUI, X or Wayland library comes with it;
#            it finds no system in Kestrel.ini as shipped; purged: nothing left.
# Then Debian's piuparts runs its install and purge test of the four packages on the same base.
# Needs root (chroot, mount) and Debian's archive (KESTREL_DEBIAN_MIRROR).
set -euo pipefail

[ "$(id -u)" -eq 0 ] || exec sudo "$0" "$@"
dir=$(realpath "$1")
previous=$(realpath "$2")
base=${KESTREL_CHROOT_BASE:-$(dirname "$dir")/chroot-base}
mirror=${KESTREL_DEBIAN_MIRROR:-http://deb.debian.org/debian}

if [ ! -x "$base/usr/bin/apt-get" ]; then
    rm -rf "$base"
    debootstrap --variant=minbase bookworm "$base" "$mirror"
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/kestrel-cycle.XXXXXX")
root=
cleanup() {
    if [ -n "$root" ] && mountpoint -q "$root/proc"; then umount "$root/proc"; fi
    rm -rf "$work"
}
trap cleanup EXIT

# shellcheck source=packaging/checks.sh
source "$(dirname "$0")/checks.sh"

# A fresh copy of the base with the packages in /debs.
new_root() {
    if [ -n "$root" ] && mountpoint -q "$root/proc"; then umount "$root/proc"; fi
    root=$work/$1
    cp -a "$base" "$root"
    mount -t proc proc "$root/proc"
    cp /etc/resolv.conf "$root/etc/resolv.conf"
    mkdir "$root/debs"
    cp "$previous" "$root/debs/previous.deb"
    for p in kestrel kestrelctl kestrel-sim kestrel-common; do cp "$dir/$p"_*.deb "$root/debs/$p.deb"; done
}
in_root() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}
apt_get() { in_root apt-get -y -q -o Dpkg::Use-Pty=0 "$@"; }
# Every path in the chroot but apt's and dpkg's own records, caches, logs and scratch space,
# and what the dependencies' scripts (dbus, systemd's users) leave on any system, as piuparts
# ignores them too.
snapshot() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./debs -o -path ./tmp -o -path ./run \
        -o -path ./var/cache -o -path ./var/lib/apt -o -path ./var/lib/dpkg -o -path ./var/log \
        -o -path ./etc/ld.so.cache -o -path ./etc/machine-id -o -path ./etc/mtab \
        -o -path ./etc/shadow- -o -path ./etc/gshadow- -o -path ./root/.ssh \
        -o -path ./var/lib/private -o -path ./var/lib/systemd \) -prune -o -print | sort)
}
# run_in_root COMMAND...: sets status and output (standard output and error) of the command.
run_in_root() { output=$(in_root "$@" 2>&1) && status=0 || status=$?; }

site=$work/site-Kestrel.ini
printf '; Studio B, as the installer left it\r\n[Kestrel]\r\nSystem=Studio B\r\nCommPort=2\r\nCommDevice=/dev/kestrel-studio-b\r\nOutput 1=Camera 1,1,1\r\nInput 1=PGM,2,1\r\n' >"$site"
ini=/etc/kestrel/Kestrel.ini

echo "== upgrade from the previous layout, remove, purge"
new_root upgrade
snapshot >"$work/before"
apt_get update >/dev/null
apt_get install /debs/previous.deb >"$work/install-previous.log" 2>&1 ||
    { cat "$work/install-previous.log"; fail "install the previous package"; exit 1; }
check "previous layout: programs in /usr/lib/kestrel, no Kestrel.ini there" \
    test -x "$root/usr/lib/kestrel/kestrel" -a ! -e "$root/usr/lib/kestrel/Kestrel.ini"
install -m 640 "$site" "$root/usr/lib/kestrel/Kestrel.ini"

apt_get install /debs/kestrel.deb /debs/kestrelctl.deb /debs/kestrel-sim.deb \
    /debs/kestrel-common.deb >"$work/upgrade.log" 2>&1 ||
    { cat "$work/upgrade.log"; fail "upgrade to the packages"; exit 1; }
version=$(dpkg-deb -f "$dir"/kestrel-common_*.deb Version)
for p in kestrel kestrelctl kestrel-sim kestrel-common; do
    check "$p $version installed" \
        test "$(in_root dpkg-query -W -f='${Version} ${db:Status-Abbrev}' "$p")" = "$version ii "
done
check "the site's Kestrel.ini is $ini, byte for byte" cmp "$site" "$root$ini"
check "... with its mode kept (640)" test "$(stat -c %a "$root$ini")" = 640
check "/usr/lib/kestrel/Kestrel.ini links to it" \
    test "$(readlink "$root/usr/lib/kestrel/Kestrel.ini")" = "$ini"
check "nothing left aside" test -z "$(find "$root/etc/kestrel" "$root/usr/lib/kestrel" \
    -name '*.from-usr-lib' -o -name '*.dpkg-*')"
# kestrelctl got as far as the port that the site's file names: it read the file.
run_in_root kestrelctl read
check "kestrelctl reads the site's file through the link (status 2 at its CommDevice)" \
    bash -c '[ "$1" -eq 2 ] && grep -q /dev/kestrel-studio-b <<<"$2"' _ "$status" "$output"
run_in_root kestrel
check "kestrel without a display: one line, status 1 ($output)" \
    bash -c '[ "$1" -eq 1 ] && [ "$(wc -l <<<"$2")" -eq 1 ]' _ "$status" "$output"
run_in_root kestrel-sim --version
check "kestrel-sim --version: ${output}" test "$output" = "kestrel-sim ${version%-*}"

apt_get remove kestrel kestrelctl kestrel-sim kestrel-common >"$work/remove.log" 2>&1 ||
    { cat "$work/remove.log"; fail "remove"; exit 1; }
check "remove: no warning" bash -c '! grep -Ei "warning|not empty" "$1"' _ "$work/remove.log"
check "remove: the site's Kestrel.ini stays" cmp "$site" "$root$ini"
check "remove: /usr/lib/kestrel is gone" test ! -e "$root/usr/lib/kestrel"

# Only kestrel-common keeps a conffile, so only it is left to purge.
apt_get purge --autoremove kestrel-common >"$work/purge.log" 2>&1 ||
    { cat "$work/purge.log"; fail "purge"; exit 1; }
check "purge: /etc/kestrel is gone" test ! -e "$root/etc/kestrel"
snapshot >"$work/after"
check "purge: nothing left that was not there before" diff "$work/before" "$work/after"

echo "== kestrelctl alone, on a machine without a display"
new_root headless
snapshot >"$work/before"
apt_get update >/dev/null
apt_get install /debs/kestrelctl.deb /debs/kestrel-common.deb >"$work/headless.log" 2>&1 ||
    { cat "$work/headless.log"; fail "install kestrelctl"; exit 1; }
gui_libraries=$(in_root dpkg-query -W -f='${Package}\n' |
    grep -E '^(libqt6(gui|widgets|opengl)|libx11|libxcb|libwayland|libgl1|libegl)' || true)
check "no Qt GUI, X or Wayland library installed${gui_libraries:+: $gui_libraries}" \
    test -z "$gui_libraries"
run_in_root kestrelctl read
check "kestrelctl finds no system in the Kestrel.ini as shipped (status 2)" \
    bash -c '[ "$1" -eq 2 ] && grep -q "names no System" <<<"$2"' _ "$status" "$output"
apt_get purge --autoremove kestrelctl kestrel-common >"$work/headless-purge.log" 2>&1 ||
    { cat "$work/headless-purge.log"; fail "purge kestrelctl"; exit 1; }
snapshot >"$work/after"
check "purge: nothing left that was not there before" diff "$work/before" "$work/after"

echo "== piuparts: install and purge of the four packages"
# Debian's own installation tester, on the same base: maintainer scripts, files left behind or
# changed, broken links, all that it checks.
[ -s "$base.tgz" ] && [ "$base.tgz" -nt "$base" ] || tar -C "$base" -czf "$base.tgz" .
if piuparts -b "$base.tgz" -d bookworm -m "$mirror" --no-upgrade-test -l "$work/piuparts.log" \
    "$dir"/kestrel_*.deb "$dir"/kestrelctl_*.deb "$dir"/kestrel-sim_*.deb \
    "$dir"/kestrel-common_*.deb >/dev/null 2>&1; then
    echo "ok:   $(grep -o 'PASS: All tests.*' "$work/piuparts.log")"
else
    grep -E 'FAIL|ERROR' "$work/piuparts.log" | tail -20 >&2
    fail "piuparts"
fi

checks_end "the install, upgrade, remove and purge cycle passed"
