# usage: installer_test.sh SOURCES BUILD
set -eu
command -v makensis zip unzip >/dev/null || exit 77
first=$PWD/first second=$PWD/second
rm -rf "$first" "$second"
# From the configuration's own folder cpack takes what to build.
(cd "$2" && cpack -B "$first" >/dev/null)
(cd "$2" && umask 077 && TZ=Asia/Tokyo LC_ALL=C cpack -B "$second" >/dev/null)
for file in "$first"/tarnwick-*.exe "$first"/tarnwick-*.zip; do
    cmp "$file" "$second/${file##*/}"
done
# Two builds differ by the time in what is linked, which these packages of one build share.
for file in "$first"/_CPack_Packages/win64/External/*/*.exe "$first"/_CPack_Packages/win64/External/*/*.dll; do
    x86_64-w64-mingw32-objdump -p "$file" | grep -q '^Time/Date.* 1970$' || { echo "$file holds the time at which it was linked"; exit 1; }
done
"$1/packaging/windows/try-windows" "$first" "${WINEPREFIX:-}"
rm -rf "$first" "$second"
