#!/usr/bin/env bash
# Compares the spam filter with grep looking for the same words in the same bytes.
# usage: bench/filter.sh BUILD_DIR MBOX     (the build tree of the preset "bench"; any large mailbox file)
set -eu

build=$(realpath "${1:?usage: bench/filter.sh BUILD_DIR MBOX}")
mbox=$(realpath "${2:?usage: bench/filter.sh BUILD_DIR MBOX}")
root=$(realpath "$(dirname "$0")/..")
dir=$(mktemp -d /tmp/filter-bench.XXXXXX)
trap 'rm -rf "$dir"' EXIT

"$build/bin/filter_bench" "$mbox" "$root/defaults/def_spamdef.dat" "$dir" | tee "$dir/figures"
best=
for _ in 1 2 3 4 5; do
    start=$(date +%s%N)
    LC_ALL=C grep -a -i -F -c -f "$dir/words" "$dir/text" | cat >/dev/null  # into /dev/null it would end at the first hit
    took=$((($(date +%s%N) - start) / 1000))
    if [ -z "$best" ] || [ "$took" -lt "$best" ]; then best=$took; fi
done
awk -v grep="$best" '$1 == "scan_ms" { printf "grep_ms %.1f\nratio %.2f\n", grep / 1000, $2 * 1000 / grep }' "$dir/figures"
