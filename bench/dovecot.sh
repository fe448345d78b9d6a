# Sourced by the benches of the mail protocols, with `protocol` (pop3 or imap) set: a private Dovecot on loopback with
# mailboxes box1000, box5000 and box10000, password "secret", server and clients pinned to one processor.
# shellcheck shell=bash

bin=${1:?usage: bench/$protocol.sh BUILD_DIR [RUNS]}/bin
runs=${2:-5}
port=${PORT:-21110}
tls_port=$((port + 1))
dir=$(mktemp -d /tmp/mail-bench.XXXXXX)
chmod 755 "$dir"
server=
finish() {
    [ -n "$server" ] && kill "$server" && wait "$server" || true
    rm -rf "$dir"
}
trap finish EXIT

# Its certificate is its own root, for our programs as well.
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=bench \
    -addext subjectAltName=IP:127.0.0.1 -keyout "$dir/key.pem" -out "$dir/certificate.pem" 2>/dev/null
export SSL_CERT_FILE=$dir/certificate.pem

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
protocols = $protocol
listen = 127.0.0.1
base_dir = $dir/run
log_path = $dir/log
ssl = yes
ssl_cert = <$dir/certificate.pem
ssl_key = <$dir/key.pem
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
service $protocol-login {
  chroot =
  inet_listener $protocol {
    port = $port
  }
  inet_listener ${protocol}s {
    port = $tls_port
    ssl = yes
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

"$bin/bare_$protocol" "$port" box1000 secret 0 >/dev/null || { cat "$dir/log" >&2; exit 1; }

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
figure() { cut -d' ' -f"$2" "$dir/$1" | median; }
# run CLIENT MAILS AMOUNT [PORT]
run() { taskset -c 0 "$bin/$1" "${4:-$port}" "box$2" secret "$3"; }

# compare MAILS AMOUNT: a row of figures, ours and the bare client's; AMOUNT of each body, as the protocol counts it.
heading() {
    echo "mails $1 | $2: wall ms, processor ms, peak MB | bare: the same | wall ratio, processor ratio | listing MB, peak above it"
}
compare() {
    run "bare_$protocol" "$1" "$2" >/dev/null # the server's own caches
    : >"$dir/ours" >"$dir/bare"
    for _ in $(seq "$runs"); do
        run "${protocol}_bench" "$1" "$2" >>"$dir/ours"
        run "bare_$protocol" "$1" "$2" >>"$dir/bare"
    done
    awk -v m="$1" -v l="$2" -v b="$(figure ours 1)" \
        -v w="$(figure ours 2)" -v c="$(figure ours 3)" -v r="$(figure ours 4)" \
        -v bw="$(figure bare 2)" -v bc="$(figure bare 3)" -v br="$(figure bare 4)" 'BEGIN {
        printf "%5d %4d | %8.0f %7.0f %6.1f | %8.0f %7.0f %6.1f | %.2f %.2f | %.1f %.2fx\n",
            m, l, w, c, r / 1024, bw, bc, br / 1024, w / bw, c / bc, b / 1048576, r * 1024 / b
    }'
}
