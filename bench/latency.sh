#!/usr/bin/env bash
# Whole checks over a line that delays each direction by 20 ms, and on loopback, beside mpop and mbsync, which fetch
# whole mails: the first check of a mailbox, and later ones with 10 new mails each. Needs dovecot-pop3d, dovecot-imapd,
# mpop, isync and python3. With OTHERS=1 fetchmail and curl, too, as far as they are installed: fetchmail asks for one
# mail after the other; curl, which knows no mails, fetches all at first, and later a list and the last ten.
# bench/bare_later.py holds the conversation of a later check and does nothing with it: what the server takes.
# usage: bench/latency.sh BUILD_DIR [CHECKS]     (the build tree of the preset "bench"; later checks, 3 by default)
set -eu

root=$(cd "$(dirname "$0")" && pwd)
later=${2:-3}
for protocol in ${PROTOCOLS:-pop3 imap}; do
    (
        set -- "$(cd "$1" && pwd)" 1
        PORT=$([ $protocol = pop3 ] && echo 21310 || echo 21320)
        . "$root/dovecot.sh"
        line=$((port + 5))
        python3 "$root/delay.py" $line "$port" 20 &
        proxy=$!
        until (exec 3<>"/dev/tcp/127.0.0.1/$line") 2>/dev/null; do sleep 0.1; done
        trap 'kill $proxy; finish' EXIT
        # New mails for a mailbox: ten more at each call.
        cat >"$dir/deliver" <<'DELIVER'
for i in 0 1 2 3 4 5 6 7 8 9; do
    n=$(($(date +%s%N) / 1000 + i))
    { seq -f 'X-Header-%g: value, all work and no play makes for a dull mailbox' 24
      printf 'From: New <new@example.org>\nTo: box@example.org\nSubject: new mail %s\nMessage-Id: <%s@new.example>\n' $n $n
      printf 'Date: Wed, 4 Mar 2026 05:06:07 +0000\n\n'; seq -f 'line %g' 50; } >"$1/new/$n.new"
    chown --reference="$1" "$1/new/$n.new"
done
DELIVER
        seconds() { (TIMEFORMAT=%R; time "$@" >/dev/null 2>"$dir/err" || sed 's/^/    /' "$dir/err") 2>&1; }
        peer() { # MAILS PORT: one run of the other program
            if [ $protocol = pop3 ]; then
                mkdir -p "$dir/mpop/$1"/{cur,new,tmp}
                seconds mpop --file=/dev/null --host=127.0.0.1 --port="$2" --user="box$1" --passwordeval='echo secret' \
                    --auth=user --tls=off --keep=on --quiet --deliver="maildir,$dir/mpop/$1" --uidls-file="$dir/mpop/$1/ids"
            else
                mkdir -p "$dir/mbsync/$1"
                cat >"$dir/mbsync/rc$1" <<RC
IMAPAccount a
Host 127.0.0.1
Port $2
User box$1
Pass secret
SSLType None
AuthMechs LOGIN

IMAPStore far
Account a

MaildirStore near
Path $dir/mbsync/$1/
Inbox $dir/mbsync/$1/inbox

Channel c
Far :far:
Near :near:
Patterns INBOX
Create Near
Sync Pull New
SyncState *
RC
                seconds mbsync -q -c "$dir/mbsync/rc$1" c
            fi
        }
        others() { # MAILS PORT first|later
            [ -n "${OTHERS:-}" ] || return 0
            if command -v fetchmail >/dev/null; then
                printf 'poll 127.0.0.1 protocol %s port %s uidl user box%s password secret keep mda "cat >/dev/null" sslproto ""\n' \
                    $protocol "$2" "$1" >"$dir/fetchmailrc"
                chmod 600 "$dir/fetchmailrc"
                echo "  fetchmail $3 $(seconds fetchmail -s -f "$dir/fetchmailrc" -i "$dir/fetchids$1" --pidfile "$dir/fetchmail.pid") s"
            fi
            command -v curl >/dev/null || return 0
            local url=$protocol://127.0.0.1:$2/ of='' count all
            [ $protocol = pop3 ] || of='INBOX/;MAILINDEX='
            count=$(($(find "$dir/mail/box$1/cur" "$dir/mail/box$1/new" -type f | wc -l)))
            all="$url$of[1-$count]"
            [ "$3" = first ] || all="$url$of[$((count - 9))-$count]"
            echo "  curl $3 $(seconds curl -sS --user "box$1:secret" "$url" "$all") s"
        }
        for mails in ${MAILS:-1000 5000 10000}; do
            "$bin/bare_$protocol" "$port" box$mails secret 0 >/dev/null # the server's own caches
            deliver="sh $dir/deliver $dir/mail/box$mails"
            for at in $line $port; do
                echo "$protocol $mails, $([ $at = $line ] && echo 'a line of 40 ms' || echo loopback)"
                (cd "$dir" && "$bin/check_bench" $protocol $at box$mails 1 "$deliver" $((later + 1))) | awk '{ print (NR == 1 ? "  first" : "  later"), "wall", $2, "ms, processor", $3, "ms, peak", $4, "KB, mails", $1 }'
                rm -rf "$dir/mpop" "$dir/mbsync"
                rm -f "$dir/fetchids$mails"
                echo "  peer first $(peer $mails $at) s"
                others $mails $at first
                for _ in $(seq "$later"); do
                    $deliver
                    echo "  peer later $(peer $mails $at) s"
                    others $mails $at later
                    $deliver
                    echo "  bare later $(python3 "$root/bare_later.py" $protocol $at box$mails)"
                done
            done
        done
    )
done
