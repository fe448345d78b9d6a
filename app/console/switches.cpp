#include "app/console/switches.h"

#include <algorithm>
#include <numeric>

#include "app/common/texts.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"

namespace {

constexpr SWITCH WATCHING[] = {
    {"CHECK", "check", nullptr, CTEXT_HELP_CHECK}, {"ONCE", "once", nullptr, CTEXT_HELP_ONCE},
    {"INBOX", "inbox", nullptr, CTEXT_HELP_INBOX}, {"LISTING", "listing", nullptr, CTEXT_HELP_LISTING},
    {"DEMO", "demo", nullptr, CTEXT_HELP_DEMO},    {"NOTIFY", "notify", nullptr, CTEXT_HELP_NOTIFY},
};
constexpr SWITCH ACCOUNTS[] = {
    {"ADD", "add", "imaps://USER@HOST", CTEXT_HELP_ADD},
    {"LIST", "list", nullptr, CTEXT_HELP_LIST},
    {"REMOVE", "remove", "ACCOUNT", CTEXT_HELP_REMOVE},
    {"TRUST", "trust", "ACCOUNT=SHA256", CTEXT_HELP_TRUST},
};
constexpr SWITCH PASSWORDS[] = {
    {"PASSWORDFILE", "password-file", "FILE", CTEXT_HELP_PASSWORDFILE},
    {"PASSWORDS", "passwords", "plain|sealed", CTEXT_HELP_PASSWORDS},
};
constexpr SWITCH MAIL[] = {
    {"SHOW", "show", "NUMBER", CTEXT_HELP_SHOW},
    {"TRASH", "trash", nullptr, CTEXT_HELP_TRASH},
    {"RESTORE", "restore", "ID", CTEXT_HELP_RESTORE},
};
constexpr SWITCH FILTER[] = {
    {"SCORE", "score", "FILE", CTEXT_HELP_SCORE},
    {"REASONS", "reasons", nullptr, CTEXT_HELP_REASONS},
    {"NET", "net", nullptr, CTEXT_HELP_NET},
    {"LEARNGOOD", "learn-good", "FILE", CTEXT_HELP_LEARNGOOD},
    {"LEARNSPAM", "learn-spam", "FILE", CTEXT_HELP_LEARNSPAM},
};
constexpr SWITCH DATA[] = {
    {"WORKDIR", "data", "DIRECTORY", CTEXT_HELP_WORKDIR},
    {"LANG", "lang", "GER|ENGL", CTEXT_HELP_LANG},
};
constexpr SWITCH TRACES[] = {
    {"LOGIT", "log-file", "[FILE]", CTEXT_HELP_LOGIT},
    {"LOGITHARD", "log-to-disk", "[FILE]", CTEXT_HELP_LOGITHARD},
    {"LOGITCLOSE", "log-close", nullptr, CTEXT_HELP_LOGITCLOSE},
    {"LOGDEBUG", "log-debug", nullptr, CTEXT_HELP_LOGDEBUG},
    {"LOG", "log-level", "LEVEL", CTEXT_HELP_LOG},
    {"NOASSERT", "no-assert", nullptr, CTEXT_HELP_NOASSERT},
    {"REPORT", "report", "FILE", CTEXT_HELP_REPORT},
};
constexpr SWITCH DESKTOP[] = {
    {"MIN", "min", nullptr, CTEXT_HELP_MIN},
    {"NOVERS", "no-version", nullptr, CTEXT_HELP_NOVERS},
};
constexpr SWITCH ABOUT[] = {
    {"HELP", "help", nullptr, CTEXT_HELP_HELP},
    {"VERSION", "version", nullptr, CTEXT_HELP_VERSION},
};
constexpr SWITCHGROUP GROUPS[] = {
    {CTEXT_GROUP_WATCHING, WATCHING}, {CTEXT_GROUP_ACCOUNTS, ACCOUNTS}, {CTEXT_GROUP_PASSWORDS, PASSWORDS},
    {CTEXT_GROUP_MAIL, MAIL},         {CTEXT_GROUP_FILTER, FILTER},     {CTEXT_GROUP_DATA, DATA},
    {CTEXT_GROUP_TRACES, TRACES},     {CTEXT_GROUP_ABOUT, ABOUT},       {CTEXT_GROUP_DESKTOP, DESKTOP},
};

/// A word of the command line, without the bytes that it begins with.
struct PARTS {
    explicit PARTS(std::string_view word) : IsLong(word.starts_with("--")) {
        IsSwitch = IsLong || word.starts_with('/') || word.starts_with('-');
        word.remove_prefix(IsLong ? 2 : IsSwitch ? 1 : 0);
        const size_t mark = word.find(IsLong ? '=' : ':');
        Name = word.substr(0, mark);
        HasValue = mark != word.npos;
        if (HasValue)
            Value = word.substr(mark + 1);
    }
    bool IsLong;
    bool IsSwitch;
    bool HasValue;
    std::string_view Name, Value;
};

bool NeedsValue(const SWITCH& entry) {
    return entry.Value && entry.Value[0] != '[';
}

// Whoever knows a switch by its other name means it, too: --workdir is --data.
const SWITCH* Find(const PARTS& word) {
    for (const SWITCHGROUP& group : GROUPS)
        for (const SWITCH& entry : group.Switches)
            if (ASCII::Equal(word.Name, entry.Name) || (word.IsLong && word.Name == entry.Long))
                return &entry;
    return nullptr;
}

bool AsksForHelp(std::string_view word) {
    for (const char* form : {"/HELP", "-HELP", "--HELP", "/?", "-?", "-H"})
        if (ASCII::Equal(word, form))
            return true;
    return false;
}

SWITCHFAULT CheckWord(std::string_view word) {
    if (AsksForHelp(word) || ASCII::Equal(word, "/LOGDBG"))
        return SWITCHFAULT::None;
    const PARTS parts(word);
    const SWITCH* const entry = parts.IsSwitch ? Find(parts) : nullptr;
    if (!entry)
        return SWITCHFAULT::Unknown;
    if (parts.HasValue && !entry->Value)
        return SWITCHFAULT::Superfluous;
    return NeedsValue(*entry) && parts.Value.empty() ? SWITCHFAULT::NoValue : SWITCHFAULT::None;
}

// The languages have the names that other programs use, too.
std::string_view StoredValue(const SWITCH& entry, std::string_view value) {
    const bool isLanguage = entry.Help == CTEXT_HELP_LANG;
    if (isLanguage && ASCII::BeginsWith(value, "de"))
        return "GER";
    return isLanguage && ASCII::BeginsWith(value, "en") ? "ENGL" : value;
}

// How many letters have to be put in, taken out or changed to make one of the other; case does not count.
size_t Distance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t k = 1; k <= b.size(); ++k) {
            const size_t changed = diagonal + (ASCII::Lower(a[i - 1]) != ASCII::Lower(b[k - 1]));
            diagonal = row[k];
            row[k] = std::min({row[k] + 1, row[k - 1] + 1, changed});
        }
    }
    return row[b.size()];
}

}  // namespace

std::span<const SWITCHGROUP> SwitchGroups() {
    return GROUPS;
}

std::string SlashForm(const SWITCH& entry) {
    std::string name = std::string("/") + entry.Name;
    if (!entry.Value)
        return name;
    return NeedsValue(entry) ? name + ":" + entry.Value : name + "[:" + (entry.Value + 1);
}

std::string LongForm(const SWITCH& entry) {
    std::string name = std::string("--") + entry.Long;
    if (!entry.Value)
        return name;
    return NeedsValue(entry) ? name + "=" + entry.Value : name + "[=" + (entry.Value + 1);
}

std::vector<std::string> WithSlashes(const std::vector<std::string>& words) {
    std::vector<std::string> result;
    for (size_t i = 0; i < words.size(); ++i) {
        PARTS parts(words[i]);
        const SWITCH* const entry = i > 0 && parts.IsLong ? Find(parts) : nullptr;
        // The name of another switch is hardly meant to be a value; after a "=" it can be one.
        const bool follows =
            entry && !parts.HasValue && NeedsValue(*entry) && i + 1 < words.size() && !words[i + 1].starts_with("--");
        if (follows) {
            parts.Value = words[++i];
            parts.HasValue = true;
        }
        const std::string& word = words[i - (follows ? 1 : 0)];
        if (!entry || (parts.HasValue ? !entry->Value || parts.Value.empty() : NeedsValue(*entry)))
            result.push_back(word);
        else
            result.push_back(std::string("/") + entry->Name +
                             (parts.HasValue ? ":" + std::string(StoredValue(*entry, parts.Value)) : ""));
    }
    return result;
}

std::string WithLongForms(std::string text) {
    for (size_t at = 0; (at = text.find('/', at)) != text.npos; ++at) {
        if (at > 0 && (ASCII::IsLetterOrDigit(text[at - 1]) || text[at - 1] == '/' || text[at - 1] == ':'))
            continue;
        size_t end = at + 1;
        while (end < text.size() && ASCII::IsUpper(text[end]))
            ++end;
        const SWITCH* const entry = Find(PARTS(std::string_view(text).substr(at, end - at)));
        if (!entry)
            continue;
        const bool takes = entry->Value && end < text.size() && text[end] == ':';
        text.replace(at, end + (takes ? 1 : 0) - at, std::string("--") + entry->Long + (takes ? "=" : ""));
    }
    return text;
}

std::string WithUsualForms(std::string text) {
    return STRING("/") == FILES::NativePath("\\") ? WithLongForms(std::move(text)) : text;
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

std::string NearestSwitch(std::string_view word) {
    const PARTS parts(word);
    const bool isLong = parts.IsLong || !parts.IsSwitch;
    std::string nearest;
    // Up to half of the letters may be wrong, and three of a long name.
    size_t best = std::min<size_t>(parts.Name.size() / 2, 3) + 1;
    for (const SWITCHGROUP& group : GROUPS) {
        for (const SWITCH& entry : group.Switches) {
            const std::string_view name = isLong ? entry.Long : entry.Name;
            const bool begins = parts.Name.size() >= 3 && ASCII::BeginsWith(name, parts.Name);
            const size_t distance = begins ? 1 : Distance(parts.Name, name);
            if (distance < best) {
                best = distance;
                nearest = (isLong ? "--" : "/") + std::string(name);
            }
        }
    }
    return nearest;
}

std::string FormOf(std::string_view word) {
    const PARTS parts(word);
    const SWITCH* const entry = Find(parts);
    return !entry ? "" : parts.IsLong ? LongForm(*entry) : SlashForm(*entry);
}

bool HelpWanted(const ARGUMENTS& arguments) {
    for (int i = 1; i < arguments.Count(); ++i)
        if (AsksForHelp(arguments[i].View()))
            return true;
    return false;
}
