#!/usr/bin/env bash
# Compares PopGet, and then the whole program, with a bare client that holds the same dialogue: a private Dovecot on
# loopback, server and client pinned to one processor, alternating runs. Needs dovecot-pop3d and taskset.
# usage: bench/pop3.sh BUILD_DIR [RUNS]     (the build tree of the preset "bench"; RUNS of each client, 5 by default)
set -eu

bin=${1:?usage: bench/pop3.sh BUILD_DIR [RUNS]}/bin
runs=${2:-5}
port=${PORT:-21110}
dir=$(mktemp -d /tmp/pop3-bench.XXXXXX)
chmod 755 "$dir"
server=
finish() {
    [ -n "$server" ] && kill "$server" && wait "$server" || true
    rm -rf "$dir"
}
trap finish EXIT

# Dovecot gives no mail to root, so root lends it a user of its own.
if [ "$(id -u)" = 0 ]; then
    owner=dovecot
    users=
else
    owner=$(id -un)
    users="default_internal_user = $owner
default_internal_group = $(id -gn)
default_login_user = $owner"
fi
cat >"$dir/dovecot.conf" <<CONF
protocols = pop3
listen = 127.0.0.1
base_dir = $dir/run
log_path = $dir/log
ssl = no
disable_plaintext_auth = no
first_valid_uid = 1
$users
mail_location = maildir:$dir/mail/%u
passdb {
  driver = static
  args = password=secret
}
userdb {
  driver = static
  args = uid=$(id -u "$owner") gid=$(id -g "$owner") home=$dir/mail/%u
}
service anvil {
  chroot =
}
service pop3-login {
  chroot =
  inet_listener pop3 {
    port = $port
  }
  inet_listener pop3s {
    port = 0
  }
}
CONF

# Mails of some 30 header lines and up to 100 body lines.
fill() {
    local to=$dir/mail/box$1
    mkdir -p "$to/cur" "$to/new" "$to/tmp"
    awk -v n="$1" -v to="$to/cur" 'BEGIN {
        text = "all work and no play makes for a dull mailbox, says the one who reads"
        for (i = 1; i <= n; i++) {
            f = sprintf("%s/%d.M%dP1.bench:2,", to, 1000000000 + i, i)
            for (h = 1; h <= 24; h++) printf "X-Header-%d: value %d of mail %d, %s\r\n", h, h, i, text > f
            printf "From: Someone <someone%d@example.org>\r\nTo: box@example.org\r\nSubject: mail number %d\r\n", i, i > f
            printf "Message-Id: <%d@example.org>\r\nDate: Wed, 4 Mar 2026 05:06:07 +0000\r\n\r\n", i > f
            for (l = i % 100; l >= 0; l--) printf "%s\r\n", text > f
            close(f)
        }
    }'
    [ "$(id -u)" != 0 ] || chown -R "$owner:" "$to"
}
for mails in 1000 5000 10000; do fill $mails; done

taskset -c 0 dovecot -F -c "$dir/dovecot.conf" &
server=$!
for _ in $(seq 100); do
    (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break
    sleep 0.1
done

ready() { "$bin/bare_pop3" "$port" box1000 secret 0 >/dev/null; }
ready || { cat "$dir/log" >&2; exit 1; }

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
run() { taskset -c 0 "$bin/$1" "$port" "box$2" secret "$3"; }

echo "mails lines | PopGet: wall ms, processor ms, peak MB | bare: the same | wall ratio, processor ratio | listing MB, peak above it"
for lines in 0 100; do
    for mails in 1000 5000 10000; do
        run bare_pop3 $mails $lines >/dev/null # the server's own caches
        : >"$dir/ours" >"$dir/bare"
        for _ in $(seq "$runs"); do
            run pop3_bench $mails $lines >>"$dir/ours"
            run bare_pop3 $mails $lines >>"$dir/bare"
        done
        col() { cut -d' ' -f"$2" "$dir/$1" | median; }
        awk -v m=$mails -v l=$lines -v b="$(col ours 1)" \
            -v w="$(col ours 2)" -v c="$(col ours 3)" -v r="$(col ours 4)" \
            -v bw="$(col bare 2)" -v bc="$(col bare 3)" -v br="$(col bare 4)" 'BEGIN {
            printf "%5d %3d | %8.0f %7.0f %6.1f | %8.0f %7.0f %6.1f | %.2f %.2f | %.1f %.2fx\n",
                m, l, w, c, r / 1024, bw, bc, br / 1024, w / bw, c / bc, b / 1048576, r * 1024 / b
        }'
    done
done

# The whole program: start, listing, records, detection, save. What one more mail costs, from 1,000 to 5,000 mails.
once() {
    rm -rf "$dir/data" && mkdir "$dir/data"
    echo secret >"$dir/password"
    "$bin/tarnwickc" "/ADD:pop3://box$1@127.0.0.1:$port" "/PASSWORDFILE:$dir/password" "/WORKDIR:$dir/data" >/dev/null
    # seconds: wall, user, system
    (TIMEFORMAT='%R %U %S'; time taskset -c 0 "$bin/tarnwickc" /ONCE "/WORKDIR:$dir/data" >/dev/null) 2>&1
}
for mails in 1000 5000 10000; do
    : >"$dir/whole$mails" >"$dir/bare$mails"
    for _ in $(seq "$runs"); do
        once $mails | awk '{ print $1 * 1000, ($2 + $3) * 1000 }' >>"$dir/whole$mails"
        run bare_pop3 $mails 100 | awk '{ print $2, $3 }' >>"$dir/bare$mails"
    done
done
figure() { cut -d' ' -f"$2" "$dir/$1" | median; }
awk -v w1="$(figure whole1000 1)" -v w5="$(figure whole5000 1)" -v w10="$(figure whole10000 1)" \
    -v b1="$(figure bare1000 1)" -v b5="$(figure bare5000 1)" -v c1="$(figure whole1000 2)" -v c10="$(figure whole10000 2)" 'BEGIN {
    printf "whole program: %.0f ms for 1,000 mails, %.0f for 5,000, %.0f for 10,000\n", w1, w5, w10
    printf "each further mail: %.3f ms, of the bare client %.3f, ratio %.2f\n", (w5 - w1) / 4000, (b5 - b1) / 4000, (w5 - w1) / (b5 - b1)
    printf "growth from 1,000 to 10,000: wall x%.1f, processor x%.1f\n", w10 / w1, c10 / c1
}'
