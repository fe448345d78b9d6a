# clang-tidy on the C++ files that have changed since the branch began, on main since the commit before, with what is not
# committed. TARNWICK_LINT=all takes all files, which is the work of an hour or two.
# usage: tidy.sh BUILD        (its neighbour "windows" says how the files for Windows are compiled)
command -v clang-tidy-19 >/dev/null || { echo "There is no clang-tidy-19 here."; exit 77; }
builds=$(dirname "$1")
left_out=$(mktemp)
trap 'rm "$left_out"' EXIT

if [ "${TARNWICK_LINT:-}" = all ]; then
    list() { find app corelib fuzz tests -name '*.cpp' -o -name '*.h'; }
    last=
else
    git rev-parse -q --verify HEAD >/dev/null || { echo "No history tells what has changed."; exit 77; }
    head=$(git rev-parse HEAD)
    for branch in main origin/main; do
        base=$(git merge-base HEAD "$branch" 2>/dev/null)
        [ "${base:-$head}" = "$head" ] || break
    done
    [ "${base:-$head}" != "$head" ] || base=$(git rev-parse -q --verify HEAD^ || git hash-object -t tree /dev/null)
    echo "What has changed since $(git log -1 --format='%h (%s)' "$base" 2>/dev/null || echo 'the beginning'):"
    list() { git diff --name-only --diff-filter=d "$base" && git ls-files -o --exclude-standard; }
    # What a large change leaves no time for is told.
    last=$(($(date +%s) + 75))
fi

look_at() { # FILE
    local windows=(-p "$builds/windows" --extra-arg=--target=x86_64-w64-mingw32) said code
    [ -z "$last" ] || [ "$(date +%s)" -lt "$last" ] || { echo "$1" >>"$left_out"; return 0; }
    if grep -q "/$1\"" "$builds/windows/compile_commands.json" && ! grep -q "/$1\"" "$builds/lint/compile_commands.json"; then
        said=$(clang-tidy-19 --quiet "${windows[@]}" "$1" 2>&1)
    else
        said=$(clang-tidy-19 --quiet -p "$builds/lint" "$1" 2>&1)
    fi
    code=$?
    # What a header of the windows includes is not there for other systems.
    case $1$said in
        *.h*"file not found"*) said=$(clang-tidy-19 --quiet "${windows[@]}" "$1" 2>&1); code=$? ;;
    esac
    if [ "$code" = 0 ]; then echo "$1"; else echo "$1: $said"; fi
    return "$code"
}
export -f look_at
export builds last left_out
list | grep -E '^(app|corelib|fuzz|tests)/.*\.(cpp|h)$' | sort -u | xargs -r -P "$(nproc)" -I{} bash -c 'look_at "{}"' || exit 1
count=$(wc -l <"$left_out")
[ "$count" = 0 ] || { echo "$count more have changed, for which there was no time."; exit 77; }
