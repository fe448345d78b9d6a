#!/usr/bin/env bash
# Whole checks of a mailbox of 100 mails on loopback, at servers that send a reply in pieces: courier-imap, popa3d and
# mailutils-pop3d, whose packages are fetched and unpacked into a system of their own above this one, since they would
# put each other away. What cannot be fetched is skipped. Needs root, Debian's apt and python3.
# usage: bench/otherservers.sh BUILD_DIR     (the build tree of the preset "bench")
set -eu

bin=$(cd "${1:?usage: bench/otherservers.sh BUILD_DIR}" && pwd)/bin
if [ "${2:-}" != inside ]; then
    exec unshare --mount --pid --fork --kill-child "$0" "$1" inside
fi
dir=$(mktemp -d /tmp/other-bench.XXXXXX)
pids=
finish() {
    for pid in $pids; do kill "$pid" 2>/dev/null || true; done
    cd /
    umount -l "$dir" && rmdir "$dir"
}
trap finish EXIT
mount -t tmpfs none "$dir"
mkdir "$dir/upper" "$dir/work" "$dir/root" "$dir/debs"
mount -t overlay overlay -o "lowerdir=/,upperdir=$dir/upper,workdir=$dir/work" "$dir/root"
mount --rbind /dev "$dir/root/dev"
mount -t proc proc "$dir/root/proc"
unpack() { # PACKAGE ...
    (cd "$dir/debs" && rm -f ./*.deb && apt-get -qq -o APT::Sandbox::User=root download "$@" 2>/dev/null) || return 1
    for deb in "$dir"/debs/*.deb; do dpkg --fsys-tarfile "$deb" | tar -x --keep-directory-symlink -C "$dir/root"; done
}
in_root() { chroot "$dir/root" "$@"; }

# A person with a password and 100 mails, in each of the two usual forms.
echo 'box:x:7777:7777::/home/box:/bin/sh' >>"$dir/root/etc/passwd"
echo 'box:x:7777:' >>"$dir/root/etc/group"
echo "box:$(openssl passwd -6 secret):19000:0:99999:7:::" >>"$dir/root/etc/shadow"
home=$dir/root/home/box
mkdir -p "$home/Maildir"/{cur,new,tmp} "$dir/root/var/mail"
rm -f "$dir/root/var/mail/box"
for n in $(seq 100); do
    { seq -f 'X-Header-%g: value, all work and no play makes for a dull mailbox' 24
      printf 'From: Some One <one@example.org>\nTo: box@example.org\nSubject: mail %s\nMessage-Id: <%s@example>\n' "$n" "$n"
      printf 'Date: Wed, 4 Mar 2026 05:06:07 +0000\n\n'; seq -f 'line %g' 50; } >"$home/Maildir/cur/$n.mail:2,"
    { echo 'From one@example.org Wed Mar  4 05:06:07 2026'; cat "$home/Maildir/cur/$n.mail:2,"; echo; } >>"$dir/root/var/mail/box"
done
chown -R 7777:7777 "$home" "$dir/root/var/mail/box"
chmod 600 "$dir/root/var/mail/box"

# One process for each connection, as inetd makes them.
cat >"$dir/inetd.py" <<'PYTHON'
import os, signal, socket, sys
signal.signal(signal.SIGCHLD, signal.SIG_IGN)
listener = socket.socket()
listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
listener.bind(("127.0.0.1", int(sys.argv[2])))
listener.listen()
while True:
    connection, peer = listener.accept()
    if os.fork() == 0:
        signal.signal(signal.SIGCHLD, signal.SIG_DFL)
        os.chroot(sys.argv[1])
        os.chdir("/")
        for end in (0, 1):
            os.dup2(connection.fileno(), end)
        os.environ.update(TCPREMOTEIP="127.0.0.1", TCPLOCALIP="127.0.0.1", TCPREMOTEPORT=str(peer[1]), TCPLOCALPORT=sys.argv[2])
        os.execv(sys.argv[3], sys.argv[3:])
    connection.close()
PYTHON
serve() { # PORT PROGRAM ARGUMENT ...
    python3 "$dir/inetd.py" "$dir/root" "$@" 2>"$dir/err" &
    pids="$pids $!"
    until (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; do sleep 0.1; done
}
measure() { # NAME PROTOCOL PORT
    (cd "$dir" && "$bin/check_bench" "$2" "$3" box 1 "" 3) |
        awk -v name="$1" '{ print name, (NR == 1 ? "first" : "later"), "wall", $2, "ms, processor", $3, "ms, mails", $1 }' ||
        echo "$1: failed"
}

if unpack popa3d; then
    mkdir -p "$dir/root/var/lib/popa3d" "$dir/root/var/empty"
    grep -q '^popa3d:' "$dir/root/etc/passwd" || echo 'popa3d:x:7778:7778::/var/empty:/bin/false' >>"$dir/root/etc/passwd"
    serve 21401 /usr/sbin/popa3d
    measure popa3d pop3 21401
else
    echo 'popa3d: skipped'
fi
if unpack mailutils-pop3d mailutils-common libmailutils9 libmu-dbm9 libgsasl18 libgssglue1 libntlm0 guile-3.0-libs libgc1 \
    libkyotocabinet16v5 libldap-2.5-0 liblzo2-2 libltdl7 libmariadb3 mariadb-common mysql-common libpq5 libpython3.11; then
    serve 21402 /usr/sbin/pop3d --no-config --inetd
    measure mailutils-pop3d pop3 21402
else
    echo 'mailutils-pop3d: skipped'
fi
if unpack courier-imap courier-base courier-authlib courier-authlib-userdb libcourier-unicode4 gamin libgamin0; then
    id=$(in_root openssl passwd -6 secret)
    printf 'box\tuid=7777|gid=7777|home=/home/box|shell=/bin/sh|systempw=%s|mail=/home/box/Maildir\n' "$id" \
        >"$dir/root/etc/courier/userdb"
    chmod 600 "$dir/root/etc/courier/userdb"
    in_root /usr/sbin/makeuserdb
    mkdir -p "$dir/root/run/courier/authdaemon"
    echo 'authmodulelist="authuserdb"' >>"$dir/root/etc/courier/authdaemonrc"
    in_root /usr/lib/courier/courier-authlib/authdaemond >/dev/null 2>"$dir/err" &
    pids="$pids $!"
    sleep 1
    serve 21403 /usr/bin/env IMAP_CAPABILITY="IMAP4rev1 UIDPLUS" MAILDIRPATH=Maildir \
        /usr/lib/courier/courier/imaplogin /usr/bin/imapd Maildir
    measure courier-imap imap 21403
else
    echo 'courier-imap: skipped'
fi
