# Sourced by ./run and ./test: sees to it that the packages are there that a job needs.
# shellcheck shell=bash

# has_package NAME: is the package installed?
has_package() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# as_root COMMAND ...: runs it as root, through sudo where that is not us; fails with a message if there is no way.
as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        # Without a terminal nobody could type the password that sudo may ask for.
        if [ -t 0 ]; then sudo "$@"; else sudo -n "$@"; fi
    else
        echo "This needs root, and there is no sudo on this machine." >&2
        return 1
    fi
}

# need_packages NAME ...: installs those that are missing, by apt; ends the script where that cannot be done. A machine
# that has no apt is asked to bring them along by itself.
need_packages() {
    local name missing=()
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo "This machine has no apt. These packages of Debian, or what they hold, have to be there: $*" >&2
        return 0
    fi
    for name in "$@"; do
        has_package "$name" || missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    echo "Installing with apt: ${missing[*]}" >&2
    # A fresh machine has no lists of packages yet, and an older one lists packages that are gone.
    if as_root apt-get update -qq >&2 &&
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q -o DPkg::Lock::Timeout=300 "${missing[@]}" >&2
    then
        return 0
    fi
    {
        echo
        echo "These packages are missing and could not be installed: ${missing[*]}"
        echo "Please install them as root, and start $0 again:"
        echo "  apt-get update && apt-get install ${missing[*]}"
    } >&2
    exit 2
}

# What every build needs, and what the one for Windows and its programs need besides.
need_build_packages() {
    need_packages g++ cmake ninja-build pkg-config zlib1g-dev googletest
}
need_windows_packages() {
    need_packages g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine wine64
}

# The servers that tests start for themselves. A machine has one mail server: where there is one already, Postfix would
# take its place, so there the tests do without.
need_server_packages() {
    local mail_server=(postfix)
    if ! has_package postfix; then
        if dpkg-query -W -f='${db:Status-Status} ${Provides}\n' 2>/dev/null |
            grep -q '^installed .*mail-transport-agent'; then
            echo "This machine has another mail server than Postfix; the tests that need Postfix are skipped." >&2
            mail_server=()
        elif command -v debconf-set-selections >/dev/null; then
            # Left without a configuration, it does not start by itself.
            echo "postfix postfix/main_mailer_type select No configuration" | as_root debconf-set-selections
        fi
    fi
    # Nor shall the machine serve web pages from now on.
    local mask_nginx=
    if ! has_package nginx && [ -d /run/systemd/system ]; then
        as_root systemctl --quiet mask nginx && mask_nginx=1
    fi
    need_packages dovecot-pop3d dovecot-imapd mailutils-imap4d dnsmasq-base nginx tinyproxy-bin "${mail_server[@]}"
    if [ -n "$mask_nginx" ]; then
        as_root systemctl --quiet unmask nginx
        as_root systemctl --quiet disable nginx
    fi
}

# use_private_wine DIRECTORY: Wine keeps its files there, asks nothing and shows nothing.
use_private_wine() {
    export WINEPREFIX="$1" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=
    # What the setting up has started would go on without the display that may be there for programs.
    [ -d "$WINEPREFIX" ] || { wineboot --init >/dev/null 2>&1; wineserver -w; }
}

# start_display: a display of its own, without a screen, for programs with windows. Sets DISPLAY, and display_pid for the
# one who ends it; without the server DISPLAY stays empty.
start_display() {
    local number i
    # There is no window manager that Wine would have to wait for. Its desktop looks at that once, as it starts, and what
    # runs since before the display was there would hold up every window on it: so Wine begins anew.
    wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1
    wineserver -k 2>/dev/null && wineserver -w
    number="$(mktemp)"
    Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp >"$number" 2>/dev/null &
    display_pid=$!
    for ((i = 0; i < 100; i++)); do
        [ -s "$number" ] && break
        sleep 0.1
    done
    [ -s "$number" ] && export DISPLAY=":$(cat "$number")"
    rm -f "$number"
}
