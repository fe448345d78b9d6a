#!/usr/bin/env bash
# What the user waits for at the Windows program, in Wine on a display of its own without a screen: the start beside that
# of a bare program with an empty list, a list of 500 accounts, and the longest time that the window does not answer
# while 5,000 mails are checked. usage: bench/desktop.sh [RUNS]     (15 starts of each program by default)
set -eu
cd "$(dirname "$0")/.."
. packaging/setup.sh

want_build_packages
want_windows_packages
want_packages xvfb
install_wanted
{ cmake --preset windows-bench && cmake --build --preset windows-bench --target desktop_bench bare_window; } >/dev/null

finish() {
    wineserver -k || true
    kill "$display_pid"
}
bin=$PWD/build/windows-bench/bin
use_private_wine "$PWD/build/windows-bench/wine"
start_display
trap finish EXIT
cd "$bin"
# While another program runs, Wine stays up.
wine explorer >/dev/null 2>&1 &
wine desktop_bench.exe start "${1:-15}" "$(winepath -w "$bin")"
wine desktop_bench.exe list 500
wine desktop_bench.exe gap 5000
wine desktop_bench.exe mails 10000
