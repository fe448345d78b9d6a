#!/usr/bin/env bash
# Compares ImapGet with a bare client that holds the same dialogue, alternating runs; the client's fixed pauses are left
# out. Needs dovecot-imapd and taskset.
# usage: bench/imap.sh BUILD_DIR [RUNS]     (the build tree of the preset "bench"; RUNS of each client, 5 by default)
set -eu

protocol=imap
. "$(dirname "$0")/dovecot.sh"

heading bytes ImapGet
for bytes in 0 4096; do
    for mails in 1000 5000; do compare $mails $bytes; done
done
