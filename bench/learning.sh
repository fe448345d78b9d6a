#!/usr/bin/env bash
# Shows what learning is worth: by five folds of a collection of mails, near-duplicates never in two of them, the lists
# alone, learning alone and both, beside bogofilter that has learnt the same mails.
# usage: bench/learning.sh BUILD_DIR GOOD_MBOX SPAM_MBOX     (the build tree of the preset "bench")
set -eu

build=$(realpath "${1:?usage: bench/learning.sh BUILD_DIR GOOD_MBOX SPAM_MBOX}")
good=$(realpath "$2")
spam=$(realpath "$3")
root=$(realpath "$(dirname "$0")/..")
dir=$(mktemp -d /tmp/learning-bench.XXXXXX)
trap 'rm -rf "$dir"' EXIT

"$build/bin/learning_bench" "$good" "$spam" "$root/defaults" "$dir"
if command -v bogofilter >/dev/null; then
    for fold in 0 1 2 3 4; do
        mkdir "$dir/bogofilter"
        for other in 0 1 2 3 4; do
            [ $other = $fold ] && continue
            bogofilter -d "$dir/bogofilter" -C -M -n -I "$dir/fold$other.good"
            bogofilter -d "$dir/bogofilter" -C -M -s -I "$dir/fold$other.spam"
        done
        for kind in good spam; do
            bogofilter -d "$dir/bogofilter" -C -M -TT -I "$dir/fold$fold.$kind" 2>/dev/null | awk -v kind=$kind '{ print kind, $NF }'
        done >>"$dir/bogofilter.scores"
        rm -r "$dir/bogofilter"
    done
fi
python3 "$root/bench/curve.py" "$dir"
