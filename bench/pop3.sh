#!/usr/bin/env bash
# Compares PopGet, and then the whole program, with a bare client that holds the same dialogue: a private Dovecot on
# loopback, server and client pinned to one processor, alternating runs. Needs dovecot-pop3d, openssl and taskset.
# usage: bench/pop3.sh BUILD_DIR [RUNS]     (the build tree of the preset "bench"; RUNS of each client, 5 by default)
set -eu

protocol=pop3
. "$(dirname "$0")/dovecot.sh"

heading lines PopGet
for lines in 0 100; do
    for mails in 1000 5000 10000; do compare $mails $lines; done
done

# Over TLS, against ourselves in clear, both ways that a check goes, and against the bare client over TLS.
for way in clear tls fast fast-tls bare; do : >"$dir/$way"; done
for _ in $(seq "$runs"); do
    run pop3_bench 5000 100 >>"$dir/clear"
    run pop3_bench 5000 100 "tls:$tls_port" >>"$dir/tls"
    run pop3_bench 5000 100 "fast:$port" >>"$dir/fast"
    run pop3_bench 5000 100 "fast:tls:$tls_port" >>"$dir/fast-tls"
    run bare_pop3 5000 100 "tls:$tls_port" >>"$dir/bare"
done
for way in clear:tls fast:fast-tls bare:tls; do
    first=${way%:*} second=${way#*:}
    awk -v n="$second against $first" -v w="$(figure "$second" 2)" -v c="$(figure "$second" 3)" \
        -v fw="$(figure "$first" 2)" -v fc="$(figure "$first" 3)" 'BEGIN {
        printf "5,000 mails, %s: %.0f ms, processor %.0f ms; wall %.2f, processor %.2f\n", n, w, c, w / fw, c / fc
    }'
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
awk -v w1="$(figure whole1000 1)" -v w5="$(figure whole5000 1)" -v w10="$(figure whole10000 1)" \
    -v b1="$(figure bare1000 1)" -v b5="$(figure bare5000 1)" -v c1="$(figure whole1000 2)" -v c10="$(figure whole10000 2)" 'BEGIN {
    printf "whole program: %.0f ms for 1,000 mails, %.0f for 5,000, %.0f for 10,000\n", w1, w5, w10
    printf "each further mail: %.3f ms, of the bare client %.3f, ratio %.2f\n", (w5 - w1) / 4000, (b5 - b1) / 4000, (w5 - w1) / (b5 - b1)
    printf "growth from 1,000 to 10,000: wall x%.1f, processor x%.1f\n", w10 / w1, c10 / c1
}'
