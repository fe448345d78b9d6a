#include "app/console/accountlist.h"

#include <algorithm>
#include <array>
#include <vector>

#include "app/check/persontext.h"
#include "app/common/displaytext.h"
#include "app/console/consoletexts.h"
#include "app/console/session.h"
#include "app/core/datadir.h"
#include "app/core/tarnwick.h"
#include "app/mailbox/account.h"

namespace {

constexpr int COLUMNS = 7;
constexpr int MINUTE = 60;
using ROW = std::array<std::string, COLUMNS>;

std::string Safe(const STRING& text) {
    return DISPLAYTEXT::Safe(text.View());
}

std::string PeriodText(int seconds, const TEXTS& texts) {
    if (seconds < 1)
        return ConsoleText(texts, CTEXT_NO_PERIOD);
    const bool minutes = seconds % MINUTE == 0;
    return std::to_string(minutes ? seconds / MINUTE : seconds) + " " +
           Safe(texts.Part(TEXT_DURATION, minutes ? PART_DURATION_MIN : PART_DURATION_SEC));
}

std::string StateText(const STRINGARRAY& item, const TEXTS& texts) {
    if (item.GetNumber("UpdateSuspended") != 0)
        return ConsoleText(texts, CTEXT_SUSPENDED);
    const std::string last = Safe(PersonText(item.Get("LastValue"), item, texts));
    return last.empty() || last == "-" ? ConsoleText(texts, CTEXT_NEVER_CHECKED) : last;
}

/// "?" for a kind that this program does not know, or no longer.
std::string KindName(const STRINGARRAY& item, const TEXTS& texts) {
    const MAILBOXKIND& kind = MAILACCOUNT::Kind(item);
    const STRING name = texts.Part(TEXT_KINDS, kind.Name);
    const int security = MAILACCOUNT::Security(item).Kind;
    if (!kind.Handler)
        return "?";
    return Safe(security == SECURITY_NONE ? name : name || ", " || texts.Part(TEXT_SECURITIES, security));
}

bool IsCalled(const STRINGARRAY& item, const std::string& name) {
    return stricmp(Safe(item.Get("Name")).c_str(), name.c_str(), 0) == 0;
}

}  // namespace

std::string AccountTable(const TARNWICK& application, const TEXTS& texts) {
    std::vector<ROW> rows(1);
    for (int i = 0; i < COLUMNS; ++i)
        rows[0][static_cast<size_t>(i)] = Safe(texts.Part(CTEXT_ACCOUNT_COLUMNS, i));
    for (int i = 0; i < application.Items.Count(); ++i) {
        const STRINGARRAY& item = application.Items[i];
        const MAILADDRESS address = MAILACCOUNT::Address(item);
        rows.push_back({std::to_string(i + 1), Safe(item.Get("Name")), KindName(item, texts), Safe(address.Host()),
                        Safe(address.User), PeriodText(item.GetNumber("TimingCyclic"), texts), StateText(item, texts)});
    }
    std::array<int, COLUMNS> widths{};
    for (const ROW& row : rows)
        for (size_t i = 0; i < COLUMNS; ++i)
            widths[i] = std::max(widths[i], DISPLAYTEXT::Width(row[i]));
    std::string table;
    for (const ROW& row : rows) {
        for (size_t i = 0; i + 1 < COLUMNS; ++i)
            table += DISPLAYTEXT::Fit(row[i], widths[i], i == 0) + "  ";
        table += row.back() + "\n";
    }
    return table;
}

int FindAccount(const TARNWICK& application, const TEXTS& texts, const STRING& name, std::string& message) {
    if (application.Items.Count() == 0) {
        message = ConsoleText(texts, CTEXT_NO_ACCOUNTS, CommandName());
        return -1;
    }
    const std::string wanted = Safe(name);
    std::vector<int> found;
    for (int i = 0; i < application.Items.Count(); ++i)
        if (IsCalled(application.Items[i], wanted))
            found.push_back(i);
    const int number = atoi(name);
    if (found.empty() && number >= 1 && number <= application.Items.Count() && wanted == std::to_string(number))
        found.push_back(number - 1);
    if (found.size() == 1)
        return found[0];
    message = ConsoleText(texts, found.empty() ? CTEXT_NO_SUCH_ACCOUNT : CTEXT_SEVERAL_ACCOUNTS, wanted) + "\n" +
              AccountTable(application, texts);
    message.pop_back();
    return -1;
}

int RemoveAccounts(TARNWICK& application, const TEXTS& texts, const std::vector<STRING>& names, std::string& message) {
    // All are found before the first one goes: the numbers are those of the table that the user has seen.
    std::vector<int> handles;
    for (const STRING& name : names) {
        const int index = FindAccount(application, texts, name, message);
        if (index == -1)
            return EXIT_NO_START;
        handles.push_back(application.Items[index].GetNumber("@Handle"));
    }
    for (const int handle : handles) {
        const STRINGARRAY* const item = application.FindItem(handle);
        if (!item)
            continue;  // it was named twice
        message += (message.empty() ? "" : "\n") + ConsoleText(texts, CTEXT_REMOVED, Safe(item->Get("Name")));
        (void)application.RemoveItem(application.FindHandle(handle));  // no check runs that could hold it
    }
    if (application.SaveTables(SAVE_ITEMS))
        return EXIT_GOOD;
    message = Safe(DataDirText(texts, TEXT_NOT_SAVED, application.DataDir()));
    return EXIT_NO_START;
}
