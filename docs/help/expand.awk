# Fills in what a page of the help leaves to the program: reads dialogs.inc and help.inc of the language, then the page.
# {name} becomes a place that links, and with a number F1 in a dialog, lead to; each is written to the file `places`.
# A row that begins with "| {2031-201} |" is about that control: it gets the control's words and its hint ahead of its own.
function quoted(text) { gsub(/[\\*_<>|&`]/, "\\\\&", text); return text }
function words(line) { sub(/^[^"]*"/, "", line); sub(/"[^"]*$/, "", line); return line }
FILENAME ~ /dialogs\.inc$/ {
    if ($1 != "#define") next
    text = words($0)
    gsub(/&/, "", text)
    sub(/[:.]+$/, "", text)
    label[substr($2, 7)] = text
    next
}
FILENAME ~ /help\.inc$/ {
    if (split($0, part, /[(), ]+/) > 3 && part[1] == "TW_HELP") hint[part[2] "_" part[3]] = words($0)
    next
}
match($0, /^\| \{[0-9]+-[0-9]+\} \|/) {
    name = substr($0, 4, RLENGTH - 6)
    own = substr($0, RLENGTH + 1)
    key = name
    sub(/-/, "_", key)
    if (label[key] == "" || hint[key] == "") {
        print FILENAME ": no control with words and a hint is " name >"/dev/stderr"
        exit 1
    }
    $0 = "| {" name "}**" quoted(label[key]) "** | " quoted(hint[key]) own
}
{
    while (match($0, /\{[0-9a-z-]+\}/)) {
        name = substr($0, RSTART + 1, RLENGTH - 2)
        print name, page >places
        $0 = substr($0, 1, RSTART - 1) "<a id=\"" name "\"></a>" substr($0, RSTART + RLENGTH)
    }
    print
}
