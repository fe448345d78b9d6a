#!/usr/bin/env bash
# Installs packages that the test makes into a root of its own, with an apt-get of its own and the machine's real dpkg and
# helpers: what is new does not start by itself, what was there before does, whatever becomes of the installation.
# usage: install_test.sh FOLDER_OF_THE_PROJECT        (in an empty folder)
set -u
project=$1
for tool in dpkg dpkg-deb dpkg-query deb-systemd-helper update-rc.d; do
    command -v "$tool" >/dev/null || [ -x "/usr/sbin/$tool" ] || { echo "no $tool here"; exit 77; }
done
rm -rf root bin made asked
mkdir -p root/var/lib/dpkg/{info,updates,triggers} root/usr/sbin root/etc/init.d bin made
: >root/var/lib/dpkg/status
export DPKG_ROOT=$PWD/root DPKG_ADMINDIR=$PWD/root/var/lib/dpkg PATH=$PWD/bin:$PATH:/usr/sbin:/sbin
failures=0
check() { # WHAT COMMAND ...
    local what=$1
    shift
    "$@" || { echo "Failure: $what"; failures=$((failures + 1)); }
}

# package NAME VERSION: with a service and a timer for both kinds of start, installed and started as Debian's helpers do.
package() {
    local dir=made/$1-$2
    mkdir -p "$dir/DEBIAN" "$dir/etc/init.d" "$dir/lib/systemd/system"
    printf 'Package: %s\nVersion: %s\nArchitecture: all\nMaintainer: nobody\nDescription: a test\n' "$1" "$2" >"$dir/DEBIAN/control"
    printf '#!/bin/sh\n### BEGIN INIT INFO\n# Provides: %s\n# Default-Start: 2 3 4 5\n# Default-Stop: 0 1 6\n### END INIT INFO\n' "$1" >"$dir/etc/init.d/$1"
    printf '[Install]\nWantedBy=multi-user.target\n' >"$dir/lib/systemd/system/$1.service"
    printf '[Install]\nWantedBy=timers.target\n' >"$dir/lib/systemd/system/$1.timer"
    cat >"$dir/DEBIAN/postinst" <<END
#!/bin/sh
update-rc.d $1 defaults
for unit in $1.service $1.timer; do
    if deb-systemd-helper --quiet was-enabled \$unit; then deb-systemd-helper enable \$unit; else deb-systemd-helper update-state \$unit; fi
done
for name in $1 $1.service $1.timer; do
    "\$DPKG_ROOT/usr/sbin/policy-rc.d" \$name start
    echo "$1: \$?" >>"$PWD/asked"
done
END
    chmod 755 "$dir/etc/init.d/$1" "$dir/DEBIAN/postinst"
    dpkg-deb -b "$dir" "made/$1-$2.deb" >/dev/null
}
install="dpkg --root=$DPKG_ROOT --force-not-root --force-script-chrootless --force-bad-path --force-unsafe-io -i"
started() { find root/etc -path "*/$1.*" -type l -o -path "*/S??$1" -type l | sort | tr '\n' ' '; }

# update-rc.d switches nothing off in another root than the machine's; this is what it does there.
cat >bin/update-rc.d <<END
#!/bin/sh
[ "\$2" = disable ] || exec $(command -v update-rc.d) "\$@"
for link in "\$DPKG_ROOT"/etc/rc[2345].d/S??"\$1"; do [ ! -L "\$link" ] || mv "\$link" "\${link%/*}/K01\$1"; done
END
chmod 755 bin/update-rc.d
# The machine's own policy, as a run that was killed left it.
printf '#!/bin/sh\nexit 104\n' >root/usr/sbin/policy-rc.d.before-tarnwick
printf '#!/bin/sh\n# Made by Tarnwick for the time of one installation.\nexit 0\n' >root/usr/sbin/policy-rc.d
chmod 755 root/usr/sbin/policy-rc.d*
package before 1
package before 2
package postman 1
package postman 2
$install made/before-1.deb >log 2>&1 || { cat log; exit 1; }
before=$(started before)
check "the test's own package starts by itself" [ -n "$before" ]

# A source of packages that does not answer is no reason to give up; what fails half-way is switched off all the same.
cat >bin/apt-get <<END
#!/bin/sh
case "\$*" in
    update*) echo "E: a source does not answer"; exit 100 ;;
    *--assume-no*) printf 'The following NEW packages will be installed:\n  postman\nNeed to get 1,200 kB/2 GB of archives.\nAfter this operation, 1,048 MB of additional disk space will be used.\n'; exit 1 ;;
esac
$install $PWD/made/before-2.deb $PWD/made/postman-1.deb
[ ! -e fails ]
END
chmod 755 bin/apt-get
for end in 1 0; do
    [ "$end" = 0 ] || : >fails
    rm -f asked
    DPKG_MAINTSCRIPT_PACKAGE='' bash "$project/packaging/install-packages" postman >log 2>said </dev/null
    check "install-packages ends with $end" [ $? = "$end" ]
    check "it tells the sizes" grep -q ' 1 packages, 1 MB to fetch, 1048 MB on the disk' said
    check "the new service is denied its start, the old one is not" \
        [ "$(sort asked | uniq -c | tr -s ' \n' ' ')" = " 3 before: 104 3 postman: 101 " ]
    check "the new service is not there at the next start: $(started postman)" [ -z "$(started postman)" ]
    check "the old one is" [ "$(started before)" = "$before" ]
    check "the machine's own policy is back" [ "$(cat root/usr/sbin/policy-rc.d; ls root/usr/sbin)" = $'#!/bin/sh\nexit 104\npolicy-rc.d' ]
    # As at a removal that was not the last word; only the second round stays.
    if [ "$end" = 1 ]; then
        rm fails
        dpkg --root="$DPKG_ROOT" --force-not-root --force-script-chrootless --force-bad-path --force-unsafe-io -P postman >>log 2>&1
    fi
done
$install made/postman-2.deb >>log 2>&1
check "nor does a later version bring it back: $(started postman)" [ -z "$(started postman)" ]

# Installed for two kinds of processor is installed; for another one alone it is not.
other=i386
[ "$(dpkg --print-architecture)" != i386 ] || other=amd64
entry='Package: %s\nStatus: install ok installed\nMulti-Arch: same\nArchitecture: %s\nVersion: 1\nMaintainer: nobody\nDescription: a test\n\n'
printf "$entry" twice "$(dpkg --print-architecture)" twice $other foreign $other >>root/var/lib/dpkg/status
. "$project/packaging/setup.sh"
check "missing_packages" [ "$(missing_packages twice foreign nowhere postman twice)" = "foreign nowhere " ]

[ "$failures" = 0 ] || { echo "== what was said"; cat said log; exit 1; }
