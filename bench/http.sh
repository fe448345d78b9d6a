#!/usr/bin/env bash
# Compares WEBGET with curl, fetching pages of 1 MB from a private nginx on loopback, clients and server pinned to one
# processor, in turn. Needs nginx, curl and taskset.
# usage: bench/http.sh BUILD_DIR [RUNS]     (the build tree of the preset "bench"; RUNS of each client, 5 by default)
set -eu

bin=${1:?usage: bench/http.sh BUILD_DIR [RUNS]}/bin
runs=${2:-5}
port=${PORT:-21180}
dir=$(mktemp -d /tmp/http-bench.XXXXXX)
server=
finish() {
    [ -n "$server" ] && kill "$server" && wait "$server" || true
    rm -rf "$dir"
}
trap finish EXIT

# A page of text and mark-up, with line ends as a server of the day sends them.
mkdir "$dir/www"
awk 'BEGIN {
    for (i = 1; n < 1048576; i++) {
        line = sprintf("<tr><td><a href=\"/cgi-bin/getmsg?msg=%d&len=%d\">mail number %d</a></td></tr>\r\n", i * 7919 % 100003, i % 977, i)
        n += length(line)
        printf "%s", line
    }
}' >"$dir/www/page"
cat >"$dir/nginx.conf" <<CONF
daemon off;
user $(id -un) $(id -gn);
pid $dir/pid;
events {}
http {
    access_log off;
    default_type text/html;
    gzip_http_version 1.0;
    $(for part in client_body proxy fastcgi uwsgi scgi; do echo "${part}_temp_path $dir/$part;"; done)
    server {
        listen 127.0.0.1:$port;
        root $dir/www;
        location /packed/ { alias $dir/www/; gzip on; }
    }
}
CONF
taskset -c 0 nginx -e "$dir/log" -p "$dir" -c "$dir/nginx.conf" &
server=$!
for _ in $(seq 100); do
    (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break
    sleep 0.1
done

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
# Processor ms of a command, its start included.
cost() {
    (TIMEFORMAT='%U %S'; time taskset -c 0 "$@" >/dev/null) 2>&1 | awk '{ print ($1 + $2) * 1000 }'
}
ours() { cost "$bin/http_bench" "$port" "$1" "$2"; }
curls() {
    local urls=()
    for _ in $(seq "$2"); do urls+=("http://127.0.0.1:$port$1"); done
    cost curl -s --http1.0 --compressed -H "Connection: close" "${urls[@]}"
}

[ "$("$bin/http_bench" "$port" /page 1 | cut -d' ' -f1)" -gt 1000000 ] || { cat "$dir/log" >&2; exit 1; }
echo "document pages | WEBGET processor ms | curl processor ms | ratio"
for doc in /page /packed/page; do
    for pages in 1 100; do
        rm -f "$dir/ours" "$dir/curl"
        for _ in $(seq "$runs"); do
            ours $doc $pages >>"$dir/ours"
            curls $doc $pages >>"$dir/curl"
        done
        awk -v d=$doc -v n=$pages -v o="$(median <"$dir/ours")" -v c="$(median <"$dir/curl")" \
            'BEGIN { printf "%-12s %3d | %6.0f | %6.0f | %.2f\n", d, n, o, c, o / c }'
    done
done
