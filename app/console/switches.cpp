#include "app/console/switches.h"

#include <iterator>
#include <string_view>

#include "corelib/base/ascii.h"

namespace {

constexpr SWITCH SWITCHES[] = {
    {"ADD", "/ADD:imaps://USER@HOST[:PORT]"},
    {"PASSWORDFILE", "/PASSWORDFILE:FILE"},
    {"LIST", "/LIST"},
    {"REMOVE", "/REMOVE:ACCOUNT"},
    {"TRUST", "/TRUST:ACCOUNT=SHA256"},
    {"PASSWORDS", "/PASSWORDS:plain|sealed"},
    {"ONCE", "/ONCE"},
    {"INBOX", "/INBOX"},
    {"SHOW", "/SHOW:NUMBER"},
    {"LISTING", "/LISTING"},
    {"TRASH", "/TRASH"},
    {"RESTORE", "/RESTORE:ID"},
    {"DEMO", "/DEMO"},
    {"SCORE", "/SCORE:FILE"},
    {"REASONS", "/REASONS"},
    {"NET", "/NET"},
    {"WORKDIR", "/WORKDIR:DIRECTORY"},
    {"LANG", "/LANG:GER|ENGL"},
    {"CHECK", "/CHECK"},
    {"MIN", "/MIN"},
    {"NOVERS", "/NOVERS"},
    {"LOGIT", "/LOGIT[:FILE]"},
    {"LOGITHARD", "/LOGITHARD[:FILE]"},
    {"LOGITCLOSE", "/LOGITCLOSE"},
    {"LOGDEBUG", "/LOGDEBUG, /LOGDBG"},
    {"LOG", "/LOG:LEVEL"},
    {"NOASSERT", "/NOASSERT"},
    {"HELP", "/HELP"},
    {"LEARNGOOD", "/LEARNGOOD:FILE"},
    {"LEARNSPAM", "/LEARNSPAM:FILE"},
};

bool AsksForHelp(std::string_view word) {
    for (const char* form : {"/HELP", "-HELP", "--HELP", "/?", "-?", "-H"})
        if (ASCII::Equal(word, form))
            return true;
    return false;
}

SWITCHFAULT CheckWord(std::string_view word) {
    if (AsksForHelp(word) || ASCII::Equal(word, "/LOGDBG"))
        return SWITCHFAULT::None;
    if (word.empty() || (word[0] != '/' && word[0] != '-'))
        return SWITCHFAULT::Unknown;
    word.remove_prefix(1);
    const size_t colon = word.find(':');
    const std::string_view name = word.substr(0, colon);
    for (const SWITCH& known : SWITCHES) {
        if (!ASCII::Equal(name, known.Name))
            continue;
        const std::string_view form = known.Form;
        const bool takes = form.find(':') != form.npos, needs = takes && form.find('[') > form.find(':');
        if (colon != word.npos && !takes)
            return SWITCHFAULT::Unknown;
        return needs && (colon == word.npos || colon + 1 == word.size()) ? SWITCHFAULT::NoValue : SWITCHFAULT::None;
    }
    return SWITCHFAULT::Unknown;
}

}  // namespace

const SWITCH* AllSwitches(int& count) {
    count = static_cast<int>(std::size(SWITCHES));
    return SWITCHES;
}

SWITCHFAULT CheckSwitches(const ARGUMENTS& arguments, std::string& word) {
    for (int i = 1; i < arguments.Count(); ++i) {
        const SWITCHFAULT fault = CheckWord(arguments[i].View());
        if (fault != SWITCHFAULT::None) {
            word = arguments[i].View();
            return fault;
        }
    }
    return SWITCHFAULT::None;
}

bool HelpWanted(const ARGUMENTS& arguments) {
    for (int i = 1; i < arguments.Count(); ++i)
        if (AsksForHelp(arguments[i].View()))
            return true;
    return false;
}
