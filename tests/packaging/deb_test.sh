#!/usr/bin/env bash
# The package for Debian has the same bytes the second time, whatever the time, the umask and the folder; its checker has
# nothing to say; and the program in it runs from where it was unpacked, for a person and as a service.
# usage: deb_test.sh BUILD        (in an empty folder)
set -u
build=$1
for tool in dpkg-deb dpkg-shlibdeps; do command -v $tool >/dev/null || { echo "no $tool here"; exit 77; }; done
rm -rf first second root home
failures=0
check() { # WHAT COMMAND ...
    local what=$1
    shift
    "$@" || { echo "Failure: $what"; failures=$((failures + 1)); }
}
(cd "$build" && cpack -G External -B "$OLDPWD/first" >"$OLDPWD/log" 2>&1) || { cat log; exit 1; }
(cd "$build" && umask 077 && TZ=Asia/Tokyo LC_ALL=C cpack -G External -B "$OLDPWD/second" >"$OLDPWD/log" 2>&1)
package=$(echo first/*.deb)
check "two packages have the same bytes" cmp "$package" "second/${package##*/}"

! command -v lintian >/dev/null || check "lintian" lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$package"
dpkg-deb -x "$package" root
dpkg-deb -c "$package" | awk '$2 != "root/root" || $1 !~ /^(d|-)rwxr-xr-x$|^-rw-r--r--$|^l/ { print; bad = 1 } END { exit bad }'
check "all of it is root's, for all to read" [ $? = 0 ]
for file in bin/tarnwickc lib/systemd/user/tarnwickc.service share/doc/tarnwickc/copyright share/man/man1/tarnwickc.1.gz \
    share/tarnwick/help/{english,german}/index.html libexec/tarnwick/def_spamdef.dat; do
    check "$file is there" [ -e "root/usr/$file" ]
done
for page in root/usr/share/man/{,de/}man1/tarnwickc.1.gz; do
    ! command -v man >/dev/null || check "$page is well-formed" [ -z "$(LC_ALL=C.UTF-8 man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null)" ]
done

mkdir home
program=$PWD/root/usr/bin/tarnwickc
run() { env -i HOME="$PWD/home" PATH=/usr/bin:/bin "$@" </dev/null; }
run "$program" --demo --once --inbox --lang=de >shown 2>&1
check "the demo runs: $(tail -n 3 shown)" grep -q ' !\*Replica Store ' shown
check "in German" grep -q Betreff shown

# As a service: no terminal, told to end by SIGTERM.
run env XDG_DATA_HOME="$PWD/home/empty" "$program" --check >shown 2>&1
check "without an account it ends with the code that is not tried again" [ $? = 2 ]
check "and says what to type" grep -q -e --add=imaps:// shown
env -i HOME="$PWD/home" PATH=/usr/bin:/bin "$program" --demo --lang=en </dev/null >shown 2>&1 &
pid=$!
for ((i = 0; i < 200; i++)); do
    grep -q 'From now on' shown && break
    sleep 0.05
done
began=$(date +%s%N)
kill -TERM $pid
wait $pid
check "the service ends well" [ $? = 0 ]
check "and at once" [ $((($(date +%s%N) - began) / 1000000)) -lt 5000 ]
check "its lines are for a journal" [ "$(LC_ALL=C grep -c $'[\r\033]' shown)" = 0 ]
check "its data are saved" [ -s home/.local/share/Velmora/Demo/accounts.ini -o -n "$(find home -name accounts.ini -size +0)" ]
if command -v systemd-analyze >/dev/null; then
    sed "s,/usr/bin/tarnwickc,$program," root/usr/lib/systemd/user/tarnwickc.service >tarnwickc.service
    XDG_RUNTIME_DIR=$PWD/home systemd-analyze verify --user --man=no "$PWD/tarnwickc.service" >shown 2>&1
    check "systemd understands the unit: $(cat shown)" [ "$(grep -c tarnwickc shown)" = 0 ]
fi

compopt() { options+=" $2"; }
# completes WORDS EXPECTED [OPTIONS]: after these words of the command line, the last of which is being typed.
. root/usr/share/bash-completion/completions/tarnwickc
completes() {
    local IFS=' ' options=
    read -ra COMP_WORDS <<<"$1"
    [[ $1 != *' ' ]] || COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _tarnwickc
    check "after '$1' comes '${COMPREPLY[*]}' and not '$2'" [ "${COMPREPLY[*]}" = "$2" ]
    check "after '$1' bash is told '$options' and not '${3:-}'" [ "$options" = "${3:-}" ]
}
completes 'tarnwickc --onc' '--once'
completes 'tarnwickc --once --pass' '--password-file= --passwords=' ' nospace'
completes 'tarnwickc --sco' '--score=' ' nospace'
completes 'tarnwickc --passwords = ' 'plain sealed'
completes 'tarnwickc --passwords =' 'plain sealed'
completes 'tarnwickc --passwords s' 'sealed'
completes 'tarnwickc --data = roo' 'root' ' filenames'
completes 'tarnwickc --log-file = tarnwickc.ser' 'tarnwickc.service' ' filenames'
completes 'tarnwickc --log-file --onc' '--once'
completes 'tarnwickc --show ' ''
[ "$failures" = 0 ]
