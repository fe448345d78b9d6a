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
"$1/packaging/windows/try-windows" "$first" "${WINEPREFIX:-}"
rm -rf "$first" "$second"
