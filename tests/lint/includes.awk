# Holds the #include lines against the order of the rooms: each may include itself and what its library links, by way of
# others too, and platform headers stand in few places. The linker does not see what a header alone brings along.
# usage: awk -f includes.awk docs/architecture.md {corelib,app}/*/CMakeLists.txt SOURCE ...
function complain(where, what) {
    print where ": " what
    bad = 1
}
function room_of(path) { return match(path, /^(corelib|app)\/[a-z]+\//) ? substr(path, 1, RLENGTH - 1) : "" }
# below[table, a, b]: room a stands on room b, as CMake or as the document tells it.
function close_over(table,    a, b, c) {
    for (b in rooms)
        for (a in rooms)
            if ((table, a, b) in below)
                for (c in rooms)
                    if ((table, b, c) in below)
                        below[table, a, c]
}

FILENAME ~ /\.md$/ {
    if (match($0, /^\| `(corelib|app)\/[a-z]+`/)) {
        room = substr($0, 4, RLENGTH - 4)
        rooms[room]
        by_name[substr(room, index(room, "/") + 1)] = room
        split($0, column, /[ \t]*\|[ \t]*/)
        n = split(column[4], name, ", ")
        for (i = 1; i <= n; i++)
            if (name[i] != "the standard library")
                below["docs", room, name[i] in by_name ? by_name[name[i]] : name[i]]
    }
    next
}
FILENAME ~ /CMakeLists\.txt$/ {
    sub(/#.*/, "")
    gsub(/[()]/, " & ")
    for (i = 1; i <= NF; i++) {
        if ($i == "tw_library") {
            room = room_of(FILENAME)
            library = $(i + 2)
            linked[room]
            sub(/_/, "/", library)
            if (library != room)
                complain(FILENAME, "this library is " library)
        } else if ($i == "LINK" || $i == ")") {
            on = $i == "LINK"
        } else if (on && room != "") {
            sub(/_/, "/", $i)
            below["cmake", room, $i]
        }
        if ($i == ")")
            room = ""
    }
    next
}
!checked {
    checked = 1
    for (room in linked)
        if (!(room in rooms))
            complain("docs/architecture.md", "does not tell of " room)
    for (room in rooms)
        if (!(room in linked))
            complain("docs/architecture.md", "tells of " room ", which is no library")
    close_over("cmake")
    close_over("docs")
    for (a in rooms)
        for (b in rooms)
            if (((("docs", a, b) in below) != (("cmake", a, b) in below)))
                complain("docs/architecture.md", "for CMake " a ((("cmake", a, b) in below) ? " may" : " may not") " use " b)
    for (a in rooms)
        if (("cmake", a, a) in below)
            complain(a "/CMakeLists.txt", a " stands on itself")
}
/^[ \t]*#[ \t]*include[ \t]/ {
    where = FILENAME ":" FNR
    product = room_of(FILENAME) != ""
    # Tests mirror the tree, and use no more of it than what they test.
    path = FILENAME
    sub(/^tests\//, "", path)
    mine = room_of(path)
    target = $0
    sub(/^[^<"]*/, "", target)
    sub(/[>"][^>"]*$/, "", target)
    angle = substr(target, 1, 1) == "<"
    target = substr(target, 2)
    theirs = room_of(target)
    if (angle) {
        # The standard library's names have no suffix. zlib is the same everywhere.
        if (product && target ~ /[.\/]/ && target != "zlib.h" && FILENAME !~ /_(win32|posix)\.(h|cpp)$/ &&
            mine != "corelib/window" && mine != "app/desktop")
            complain(where, "<" target "> is a header of a platform")
    } else if (target !~ /^(app|bench|corelib|fuzz|resources|tests)\//) {
        complain(where, "\"" target "\" does not begin at the root of the tree")
    } else if (theirs != "") {
        if (FILENAME ~ /^resources\// || (mine != "" && mine != theirs && !(("cmake", mine, theirs) in below)))
            complain(where, "may not use " theirs)
    } else if ((product || FILENAME ~ /^resources\//) && (target !~ /^resources\// || FILENAME ~ /^corelib\//)) {
        complain(where, "may not use " target)
    }
}
END { exit bad }
