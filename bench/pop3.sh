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

# Over TLS, against ourselves in clear and against the bare client over TLS.
: >"$dir/clear" >"$dir/tls" >"$dir/bare"
for _ in $(seq "$runs"); do
    run pop3_bench 5000 100 >>"$dir/clear"
    run pop3_bench 5000 100 "tls:$tls_port" >>"$dir/tls"
    run bare_pop3 5000 100 "tls:$tls_port" >>"$dir/bare"
done
awk -v w="$(figure tls 2)" -v c="$(figure tls 3)" -v cw="$(figure clear 2)" -v cc="$(figure clear 3)" \
    -v bw="$(figure bare 2)" -v bc="$(figure bare 3)" 'BEGIN {
    printf "5,000 mails over TLS: %.0f ms, processor %.0f ms\n", w, c
    printf "against clear: wall %.2f, processor %.2f; against the bare client over TLS: wall %.2f, processor %.2f\n", w / cw, c / cc, w / bw, c / bc
}'

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
