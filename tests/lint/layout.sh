# Is every C++ file laid out as .clang-format says? `clang-format-19 -i FILE` mends it.
command -v clang-format-19 >/dev/null || { echo "There is no clang-format-19 here, so no layout is looked at."; exit 77; }
find app bench corelib fuzz resources tests -name '*.cpp' -o -name '*.h' -o -name '*.c' | sort | xargs clang-format-19 --dry-run -Werror
