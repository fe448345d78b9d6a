#include "app/console/switchpages.h"

#include <algorithm>

#include "app/common/displaytext.h"
#include "app/console/consoletexts.h"
#include "app/console/switches.h"
#include "corelib/base/files.h"

namespace {

constexpr int FORM_COLUMNS = 25;
constexpr int MIN_COLUMNS = 60;

// Appends the text within so many columns, of which `indent` on the left stay free but in the first line.
void AppendWrapped(std::string& page, std::string_view text, int indent, int columns) {
    int column = indent;
    while (!text.empty()) {
        const size_t blank = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, blank);
        text.remove_prefix(std::min(blank + 1, text.size()));
        const int width = DISPLAYTEXT::Width(word);
        if (column > indent && column + 1 + width > columns) {
            page += "\n" + std::string(static_cast<size_t>(indent), ' ');
            column = indent;
        }
        page += column > indent ? " " : "";
        page += word;
        column += width + (column > indent ? 1 : 0);
    }
    page += "\n";
}

// Text for troff: nothing in it is a command or breaks at a hyphen.
std::string ForMan(std::string_view text) {
    std::string result = "\\&";
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
    }
    return result;
}

std::string Replaced(std::string text, std::string_view mark, const std::string& value) {
    return text.replace(text.find(mark), mark.size(), value);
}

}  // namespace

std::string HelpText(const TEXTS& texts, int columns) {
    const bool posix = STRING("/") == FILES::NativePath("\\");
    std::string page;
    for (const SWITCHGROUP& group : SwitchGroups()) {
        page += "\n" + ConsoleText(texts, group.Title) + "\n";
        for (const SWITCH& entry : group.Switches) {
            const std::string first = posix ? LongForm(entry) : SlashForm(entry);
            const std::string other = posix ? SlashForm(entry) : LongForm(entry);
            const bool fits = DISPLAYTEXT::Width(first) < FORM_COLUMNS;
            page += "  " + (fits ? DISPLAYTEXT::Fit(first, FORM_COLUMNS)
                                 : first + "\n  " + std::string(static_cast<size_t>(FORM_COLUMNS), ' '));
            AppendWrapped(page,
                          ConsoleText(texts, entry.Help) + " (" + other.substr(0, other.find_first_of(":=[")) + ")",
                          FORM_COLUMNS + 2, std::max(columns, MIN_COLUMNS));
        }
    }
    return page;
}

std::string ManOptions(const TEXTS& texts) {
    std::string page;
    for (const SWITCHGROUP& group : SwitchGroups()) {
        page += ".SS " + ForMan(texts.Get(group.Title).View()) + "\n";
        for (const SWITCH& entry : group.Switches)
            page += ".TP\n.B " + ForMan(LongForm(entry)) + "\\fR, \\fB" + ForMan(SlashForm(entry)) + "\n" +
                    ForMan(WithLongForms(std::string(texts.Get(entry.Help).View()))) + "\n";
    }
    return page;
}

std::string BashCompletion() {
    std::string switches, values;
    for (const SWITCHGROUP& group : SwitchGroups()) {
        for (const SWITCH& entry : group.Switches) {
            const std::string name = std::string("--") + entry.Long, value = entry.Value ? entry.Value : "";
            const bool isOptional = value.starts_with('[');
            switches += (switches.empty() ? "" : " ") + name + (value.empty() || isOptional ? "" : "=");
            std::string words = value;
            std::replace(words.begin(), words.end(), '|', ' ');
            const std::string found = value.find("FILE") != value.npos ? "-f"
                                      : value == "DIRECTORY"           ? "-d"
                                      : words != value                 ? "-W '" + words + "'"
                                                                       : "-W ''";
            if (value.empty())
                continue;
            values += "        ";
            if (!isOptional)
                values.append(name).append(" | ");
            values.append(name).append("=) found=(").append(found).append(") ;;\n");
        }
    }
    constexpr std::string_view SCRIPT = R"(# Completes what is typed after tarnwickc in bash.
_tarnwickc() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} found
    # bash takes "--name=value" for three words.
    if [ "$word" = = ]; then
        word='' before+='='
    elif [ "$before" = = ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}=
    fi
    case $before in
@VALUES@        *) found=(-W '@SWITCHES@') ;;
    esac
    mapfile -t COMPREPLY < <(compgen "${found[@]}" -- "$word")
    [ "${found[0]}" = -W ] || compopt -o filenames 2>/dev/null
    [[ ${COMPREPLY[*]} != *= ]] || compopt -o nospace 2>/dev/null
}
complete -F _tarnwickc tarnwickc
)";
    return Replaced(Replaced(std::string(SCRIPT), "@VALUES@", values), "@SWITCHES@", switches);
}
