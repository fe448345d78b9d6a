# Do the includes follow the order of the rooms?
find app bench corelib fuzz resources tests -name '*.cpp' -o -name '*.h' -o -name '*.c' | sort |
    xargs -n 100000 awk -f tests/lint/includes.awk docs/architecture.md {corelib,app}/*/CMakeLists.txt
