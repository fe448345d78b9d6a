# Sourced by ./run and ./test: sees to it that the packages are there that a job needs. First all that are wanted are
# named by the want_ functions, then install_wanted installs those that are missing, in one go.
# shellcheck shell=bash

setup_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
wanted=()

want_packages() { wanted+=("$@"); }

# What every build needs, and what the one for Windows and its programs need besides; no program of ours needs what Wine
# recommends beyond that, which is a gigabyte.
want_build_packages() { want_packages g++ cmake cmark-gfm ninja-build pkg-config zlib1g-dev libssl-dev googletest libgmock-dev; }
want_windows_packages() {
    want_packages g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine wine64 fonts-wine fonts-liberation libgnutls30 \
        libxcomposite1 libxcursor1 libxfixes3 libxi6 libxinerama1 libxrandr2 libxrender1 nsis zip unzip
}

# What it takes to show a program of Windows without a display.
want_picture_packages() { want_packages xvfb icewm xdotool imagemagick x11-utils; }
# display_answers: is there a display at DISPLAY that programs can use? Needs x11-utils.
display_answers() { [ -n "$DISPLAY" ] && timeout 5 xdpyinfo >/dev/null 2>&1; }

# The servers that tests start for themselves. A machine has one mail server: where there is one already, Postfix would
# take its place, so there the tests do without. And where a Dovecot serves one protocol, it would serve the other one, too,
# as soon as that is there: then this fails, for tests without servers.
want_server_packages() {
    if has_package dovecot-core && ! { has_package dovecot-pop3d && has_package dovecot-imapd; }; then
        echo "This machine has a Dovecot of its own, which is left as it is; the tests that need servers are left out." >&2
        return 1
    fi
    want_packages dovecot-pop3d dovecot-imapd mailutils-imap4d dnsmasq-base nginx dbus-daemon
    if ! has_package postfix && dpkg-query -W -f='${db:Status-Status} ${Provides}\n' 2>/dev/null |
        grep -q '^installed .*mail-transport-agent'; then
        echo "This machine has another mail server than Postfix; the tests that need Postfix are skipped." >&2
    else
        want_packages postfix
    fi
}

# missing_packages NAME ...: prints those that are not installed in a form for this machine. One that is installed for
# another kind of processor, too, is told twice.
missing_packages() {
    dpkg-query -W -f='${db:Status-Status} ${Package} ${Architecture}\n' "$@" 2>/dev/null |
        awk -v native="$(dpkg --print-architecture)" -v names="$*" '
            $1 == "installed" && ($3 == native || $3 == "all") { there[$2] = 1 }
            END { n = split(names, name, " "); for (i = 1; i <= n; i++) if (!there[name[i]]++) printf "%s ", name[i] }'
}
has_package() { [ -z "$(missing_packages "$1")" ]; }

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

# install_wanted: installs what is wanted and missing, by apt; ends the script where that cannot be done. A machine that
# has no apt is asked to bring the packages along by itself.
install_wanted() {
    local missing log=$setup_root/build/install.log code
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo "This machine has no apt. These packages of Debian, or what they hold, have to be there: ${wanted[*]}" >&2
        return 0
    fi
    read -r -a missing < <(missing_packages "${wanted[@]}")
    [ ${#missing[@]} -gt 0 ] || return 0

    mkdir -p "${log%/*}" || exit 2
    as_root "$setup_root/packaging/install-packages" "${missing[@]}" >"$log"
    code=$?
    [ "$code" != 0 ] || return 0
    {
        [ "$code" = 3 ] || grep '^E: ' "$log" | tail -n 5
        echo "These packages are missing and were not installed: ${missing[*]}"
        echo "Please install them as root, and start $0 again:"
        echo "  apt-get update && apt-get install --no-install-recommends ${missing[*]}"
        [ "$code" = 3 ] || echo "All that was said is in $log"
    } >&2
    exit 2
}

# logged LOG LABEL COMMAND ...: runs the command with its output in the log. On a terminal a line tells how far a build or
# the tests are; elsewhere there is a word once something is built.
logged() {
    local log=$1 label=$2 code
    shift 2
    : >"$log"
    # No pipe: what Wine leaves running would keep it open.
    show_steps "$label" "$log" &
    "$@" >"$log" 2>&1 </dev/null
    code=$?
    { kill -USR1 $! && wait $!; } 2>/dev/null
    return "$code"
}
show_steps() {
    local part line='' step='' failed=0 passed=0 last=''
    trap 'last=1' USR1
    while :; do
        if ! IFS= read -r part; then
            line+=$part
            [ -z "$last" ] && kill -0 $$ || break
            [ -z "$step" ] || [ ! -t 2 ] || printf '\r\033[K%s: %s' "$1" "$step" >&2
            sleep 0.3
            continue
        fi
        line+=$part
        case $line in
            \[*/*\]\ *)
                [ -t 2 ] || [ -n "$step" ] || echo "$1: building, the first time for some minutes" >&2
                step=${line#[}
                step="building, step ${step%%]*}"
                ;;
            *": [       OK ] "*) passed=$((passed + 1)) ;;&
            *": [  FAILED  ] "*" ms)") failed=$((failed + 1)) ;;&
            *": [  "*) step="$passed tests passed, $failed failed" ;;
        esac
        line=''
    done <"$2"
    [ ! -t 2 ] || [ -z "$step" ] || printf '\r\033[K' >&2
}

# use_private_wine DIRECTORY: Wine keeps its files there, asks nothing and shows nothing. The second half takes its time
# at the first time.
use_private_wine() {
    name_private_wine "$1"
    make_private_wine
}
name_private_wine() { export WINEPREFIX="$1" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=; }
make_private_wine() {
    # What the setting up has started would go on without the display that may be there for programs.
    [ -d "$WINEPREFIX" ] || { wineboot --init >/dev/null 2>&1; wineserver -w; }
}

# keep_wine: without a program Wine ends, and the next program waits until all of it has started again; what it starts
# then holds on to that program's output. So one program waits there, until `wineserver -k` or the end of this shell.
keep_wine() {
    local i said
    said=$(mktemp)
    exec {wine_input}> >(exec wine cmd >"$said" 2>/dev/null)
    echo 'echo it has started' >&"$wine_input"
    for ((i = 0; i < 600; i++)); do
        grep -q 'it has started' "$said" && break
        sleep 0.1
    done
    rm -f "$said"
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
