#include "app/check/items.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "app/check/mailrecords.h"
#include "app/mailbox/protection.h"
#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"

namespace {

struct ITEMKEY {
    const char* Key;
    const char* Value;
    const char* InNewItem = nullptr;  // null: the same
};

/// Keys that the file holds, with what a record gets that lacks them, and a new account.
constexpr ITEMKEY STORED_KEYS[] = {
    {"Name", ""},
    {"Type", "", "1"},
    {"Source", ""},
    {"Source2", ""},
    {"Security", "", "1"},
    {"TrustedCertificate", ""},
    {"ShowTooltip", ""},
    {"DoSpecialMailProgram", ""},
    {"SpecialMailProgram", ""},
    {"DoPopup", "1"},
    {"DownloadMailTexts", "1"},
    {"TrayCheck", "", "1"},
    {"TimingCyclic", "", "600"},
    {"LastRC", ""},
    {"LastValue", ""},
    {"LastSeenIds", ""},
    {"TrashedMails", ""},  // those on the server that the trash has copies of
    {"UidValidity", ""},   // under what they are valid; without it as long as the mailbox is the same one
    {"LastRefresh", ""},
    {"LastRefreshString", ""},
    {"UpdateSuspended", ""},
    {"DoSpamFilter", "1"},
    {"DoSpamMove", "0"},
    {"SpamFolder", "spam"},
    {"FastCheck", "", "1"},  // a check asks for what is new only
    {"Push", "", "1"},       // the server tells of news, where it can
    {"DoAltFolder", "0"},
    {"AltFolder", ""},
    // Run-time keys that may come from the file of an edit and are emptied by the check that first looks at them.
    {"@MoveMessageId", ""},
    {"@DeleteMessageId", ""},
    {"@X-DeleteMessageId", ""},
    {"@FileStore", ""},
    {REFUSED_CERTIFICATE, ""},  // of the last call
    {"@UidValidity", ""},       // as the last listing told
};

/// Keys whose default is the setting of the same name.
constexpr const char* COLOUR_KEYS[] = {"PopupBackgroundColor", "PopupTextColor"};

/// Keys with what people type and read. Ids stay the bytes that a mail has brought.
constexpr const char* TEXT_KEYS[] = {"Name", "Source", "SpamFolder", "AltFolder", "UidValidity"};

/// Run-time keys that start afresh in each run, whatever a file says.
constexpr ITEMKEY FRESH_KEYS[] = {{"@Showing", "0"},       {"@ForceRefresh", "0"}, {"@ForcePopup", "0"},
                                  {"@SuppressPopup", "0"}, {"@InUpdate", "0"},     {"@Locked", "0"},
                                  {"@MoveDelError", "0"},  {"@LostCopies", "0"},   {"@DisposedMails", ""},
                                  {"@RetryMessageId", ""}, {"@X-DeleteMail", ""},  {"@QueuedByUser", ""},
                                  {"@KnownMails", ""},     {"@ListedMails", ""},   {"@FastDoubts", "0"},
                                  {"@PlainChecks", "0"},   {"@VerdictBasis", ""}};

// Two lines for each: neither of the names holds a line end.
std::string Lines(const MAILNAME& mail) {
    return mail.Id + "\n" + mail.Identity + "\n";
}

std::vector<MAILNAME> ReadNames(std::string_view lines) {
    std::vector<MAILNAME> names;
    while (!lines.empty()) {
        const std::string_view id = ASCII::Take(lines, '\n');
        names.push_back({std::string(id), std::string(ASCII::Take(lines, '\n'))});
    }
    return names;
}

}  // namespace

int FindHandle(const RECORDARRAY& items, int handle) {
    return items.FindRecord("@Handle", std::to_string(handle).c_str());
}

STRINGARRAY* FindItem(RECORDARRAY& items, int handle) {
    const int index = FindHandle(items, handle);
    return index == -1 ? nullptr : &items[index];
}

void AddIds(STRINGARRAY& item, const char* key, const std::vector<std::string_view>& ids) {
    item.Change(key, [&](const STRING& list) {
        std::unordered_set<std::string_view> known;
        for (std::string_view rest = list.View(); !rest.empty();)
            known.insert(ASCII::Take(rest, '\n'));
        std::string all(list.View());
        for (const std::string_view id : ids) {
            if (!known.insert(id).second)
                continue;
            if (!all.empty() && !all.ends_with('\n'))
                all += '\n';
            all.append(id).push_back('\n');
        }
        return STRING(std::string_view(all));
    });
}

STRING TakeIds(STRINGARRAY& item, const char* key) {
    STRING ids;
    item.Change(key, [&ids](const STRING& list) {
        ids = list;
        return STRING("");
    });
    return ids;
}

MAILNAME NameOf(const STRINGARRAY& record) {
    const std::string id(record["X-Message-Id"].View());
    // By POP3 the size stands after the number.
    const std::string size = id.substr(std::min(id.find('|'), id.size()));
    return {id, std::to_string(IdentityOf(record)) + ' ' + std::string(record["X-Datetime"].View()) + size};
}

void AddToDeletions(STRINGARRAY& item, const std::vector<MAILNAME>& mails) {
    std::vector<std::string_view> ids;
    for (const MAILNAME& mail : mails)
        ids.emplace_back(mail.Id);
    AddIds(item, "@DeleteMessageId", ids);
}

void QueueDeletion(STRINGARRAY& item, const std::vector<MAILNAME>& mails) {
    // Remembered before it is queued: the work thread forgets what it takes from the queue, and adds what is remembered
    // after it has emptied it. So nothing gets lost between the two, whenever that happens.
    item.Change("@QueuedByUser", [&](const STRING& list) {
        std::string all(list.View());
        for (const MAILNAME& mail : mails)
            all += Lines(mail);
        return STRING(std::string_view(all));
    });
    AddToDeletions(item, mails);
}

std::vector<MAILNAME> QueuedByUser(const STRINGARRAY& item) {
    return ReadNames(item.Get("@QueuedByUser").View());
}

void ChangeQueued(STRINGARRAY& item, const std::function<bool(MAILNAME& mail)>& change) {
    item.Change("@QueuedByUser", [&](const STRING& list) {
        std::string kept;
        for (MAILNAME& mail : ReadNames(list.View()))
            if (change(mail))
                kept += Lines(mail);
        return STRING(std::string_view(kept));
    });
}

void FixItem(STRINGARRAY& item, const STRINGARRAY& state, int& nextHandle, bool isNew) {
    for (const ITEMKEY& key : STORED_KEYS) {
        if (!item.Exists(key.Key))
            item.Set(key.Key, isNew && key.InNewItem ? key.InNewItem : key.Value);
    }
    for (const char* key : COLOUR_KEYS) {
        if (!item.Exists(key))
            item.Set(key, state.Get(key));
    }
    for (const char* key : TEXT_KEYS)
        item.Change(key, CODEPAGE::ToUtf8);
    MAILACCOUNT::SetPassword(item, MAILACCOUNT::Password(item));
    for (const ITEMKEY& key : FRESH_KEYS)
        item.Set(key.Key, key.Value);
    item.SetNumber("@Handle", nextHandle++);
    item.AllowNewKeys(false);
}
