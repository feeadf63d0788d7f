# SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
# SPDX-License-Identifier: MIT
# Sourced by the package checks: each check prints one line, and every failure is counted so that
# one run tells all that is wrong; `checks_end` exits 1 if any failed.

failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
check() { # check DESCRIPTION COMMAND...
    local what=$1
    shift
    if "$@"; then echo "ok:   $what"; else fail "$what"; fi
}
checks_end() { # checks_end SUMMARY
    if [ "$failures" -ne 0 ]; then
        echo "$failures check(s) failed" >&2
        exit 1
    fi
    echo "$1"
}
