#include "app/dialogs/setup.h"

#include <string_view>

#include "app/mailbox/account.h"
#include "corelib/base/trace.h"

namespace {

constexpr int WEBMAIL_SECONDS = 600;

/// A mail program that is known by a part of its path, and what it is told. Of several that fit the last one holds: a
/// program may lie in another one's folder.
struct KNOWNPROGRAM {
    const char* Part;
    const char* WindowTitle;  // with a check for its window; null: neither
    const char* Inbox;        // null: as it was
    const char* NewMail;
};
constexpr KNOWNPROGRAM KNOWN_PROGRAMS[] = {{"OUTLOOK", "Outlook", nullptr, "/c ipm.note"},
                                           {"MSIMN", "Outlook", nullptr, "/mailurl:mailto:"},
                                           {"NETSCAPE", "Inbox - Netscape", " -inbox", "-compose"}};

/// The keys of a page, besides parts of their own.
void TakeOver(STRINGARRAY& to, const STRINGARRAY& from, int page) {
    for (const FIELD& field : FieldsOf(page))
        if (!IsPart(field.Key))
            to.Set(field.Key, from.Get(field.Key));
}

const MAILBOXKIND& KindOfForm(const STRINGARRAY& form) {
    return KindOf(form.GetNumber("Type"));
}

}  // namespace

bool SETUP::HasQuestions(int page) const {
    return page == PAGE_SETUP_ACCOUNT ? Items.Count() == 0
           : page == PAGE_SETUP_LISTS ? State.GetNumber("SpamHaveDistrLists") != 0
                                      : true;
}

STRINGARRAY SETUP::Begin(int page) const {
    if (const auto left = Left.find(page); left != Left.end())
        return left->second;
    STRINGARRAY form(8, 8);
    for (const FIELD& field : FieldsOf(page))
        form.Set(field.Key, State.Exists(field.Key) ? State.Get(field.Key) : STRING(""));
    switch (page) {
        case PAGE_SETUP_CONNECTION:
            form.Set("ConnectionType", "0");
            if (Machine.DialEntries.Length() > 0)
                form.Set("EntryToMonitor", Machine.DialEntries.Word(0, "|", WORD_NEVERNULL));
            if (Machine.MailProgram.Length() > 0)
                form.Set("EmailCmdline", Machine.MailProgram);
            break;
        case PAGE_SETUP_ACCOUNT:
            form.SetNumber("Type", ITEMTYPE_POP3);
            form.SetNumber("Security", SECURITY_TLS);
            form.Set("TimingCyclic", "600");
            break;
        case PAGE_SETUP_USER:
            form.Set("SpamMyEmail.Name", Machine.Owner);
            for (int i = 0; i < Items.Count(); ++i)
                if (const STRING user = MAILACCOUNT::Address(Items[i]).User; user.Pos('@') > 0)
                    form.Set("SpamMyEmail.Addresses", user);
            break;
        case PAGE_SETUP_SENDING:
            for (int i = 0; i < Items.Count() && State.Get("SpamSmtp").Length() == 0; ++i) {
                const int type = Items[i].GetNumber("Type");
                // Its port is one for reading.
                if (type != ITEMTYPE_POP3 && type != ITEMTYPE_IMAP)
                    continue;
                const MAILADDRESS address = MAILACCOUNT::Address(Items[i]);
                form.Set("SpamSmtp", address.Server.Word(0, ":", WORD_NEVERNULL));
                // A password that is read in clear is not proposed for more of that.
                const int security = MAILACCOUNT::Security(Items[i]).Kind;
                form.SetNumber("SpamSmtpSecurity", security);
                form.Set("SpamSmtpUser", security == SECURITY_NONE ? STRING("") : address.User);
                form.Set("SpamSmtpPassword", security == SECURITY_NONE ? STRING("") : MAILACCOUNT::Password(Items[i]));
            }
            break;
        case PAGE_SETUP_HABITS:
        case PAGE_SETUP_LISTS:
        case PAGE_SETUP_END:
            break;
        default:
            ASSERTION(false, "FALSE");
    }
    return form;
}

int SETUP::Fault(int page, const STRINGARRAY& form, int& control) {
    if (page != PAGE_SETUP_ACCOUNT)
        return 0;
    const MAILBOXKIND& kind = KindOfForm(form);
    control = 202;
    int fault = kind.HasUser ? EntryFault(form.Get("Source.User"), TEXT_NO_USER) : 0;
    if (fault != 0)
        return fault;
    control = 201;
    fault = kind.HasServer() ? ServerFault(form.Get("Source.Server")) : 0;
    return fault;
}

int SETUP::Leave(int page, const STRINGARRAY& form) {
    switch (page) {
        case PAGE_SETUP_CONNECTION:
            Left[page] = form;
            TakeOver(State, form, page);
            StoreMailProgram();
            return 0;
        case PAGE_SETUP_ACCOUNT:
            return AddAccount(form);
        case PAGE_SETUP_USER:
            Left[page] = form;
            StoreUser(form);
            return 0;
        case PAGE_SETUP_SENDING:
            TakeOver(State, form, page);
            State.Set("SpamSmtp", Stripped(form.Get("SpamSmtp")));
            State.Set("SpamSmtpTo", Stripped(form.Get("SpamSmtpTo"), "; "));
            State.Set("SpamSmtpUser", Stripped(form.Get("SpamSmtpUser")));
            return 0;
        case PAGE_SETUP_LISTS:
            Left[page] = form;
            TakeOver(State, form, page);
            AddLists(form.Get("SpamMyInterests.Lists"));
            return 0;
        default:
            TakeOver(State, form, page);
            return 0;
    }
}

void SETUP::StoreMailProgram() {
    const STRING path = State.Get("EmailCmdline");
    if (path.Length() == 0)
        return;
    State.Set("EmailDoProgram", "0");
    for (const KNOWNPROGRAM& program : KNOWN_PROGRAMS) {
        if (path.iPos(program.Part) == -1)
            continue;
        State.Set("EmailDoWindowCheck", "1");
        State.Set("EmailWindowTitle", program.WindowTitle);
        if (program.Inbox)
            State.Set("EmailCmdlineInbox", program.Inbox);
        State.Set("EmailCmdlineNewMail", program.NewMail);
    }
    State.Set("EmailDoSound", "1");
}

int SETUP::AddAccount(const STRINGARRAY& form) {
    const MAILBOXKIND& kind = KindOfForm(form);
    const STRING user = kind.StoredUser ? STRING(kind.StoredUser) : Stripped(form.Get("Source.User"));
    const MAILADDRESS address = {kind.Type, user, Stripped(form.Get("Source.Server"))};
    int period = kind.HasUser ? form.GetNumber("TimingCyclic") : 0;
    const bool raised = kind.Type == ITEMTYPE_HOTMAIL && period > 0 && period < WEBMAIL_SECONDS;
    if (raised)
        period = WEBMAIL_SECONDS;
    STRINGARRAY item(64, 64);
    item.Set("Name", STRING("Mail ") || (kind.HasServer() ? address.Server : STRING(kind.StoredServer)));
    MAILACCOUNT::SetAddress(item, address, form.Get("Source2"));
    MAILACCOUNT::SetSecurity(item, kind.HasServer() ? form.GetNumber("Security") : static_cast<int>(SECURITY_TLS));
    item.SetNumber("TimingCyclic", period);
    item.Set("TrayCheck", "1");
    Items.Add(item);
    return raised ? TEXT_PERIOD_RAISED : 0;
}

void SETUP::StoreUser(const STRINGARRAY& form) {
    STRING lines("");
    STRING first("");
    const STRING addresses = form.Get("SpamMyEmail.Addresses");
    WORDCURSOR parts(addresses, ";");
    for (std::string_view part; parts.Next(part);) {
        const STRING address = Stripped(STRING(part));
        if (address.Length() == 0)
            continue;
        if (first.Length() == 0)
            first = address;
        lines += STRING("\r\n") || address;
    }
    State.Set("SpamMyEmail", Stripped(form.Get("SpamMyEmail.Name")) || lines);
    State.Set("SpamSmtpTo", first);
}

void SETUP::AddLists(STRING words) {
    words.Replace("\r", "");
    words.Replace(";", "\n");
    STRING interests = State.Get("SpamMyInterests");
    interests.Strip('R', "\r\n");
    WORDCURSOR lines(words, "\n");
    for (std::string_view line; lines.Next(line);) {
        const STRING word = Stripped(STRING(line), " \t;\r");
        if (word.Length() > 0 && interests.Pos(word.Text()) == -1)
            interests += (interests.Length() > 0 ? STRING("\r\n") : STRING("")) || word;
    }
    State.Set("SpamMyInterests", interests);
}

STRING ProgramOfCommand(const STRING& command) {
    constexpr std::string_view ENDING = ".exe";
    STRING path = command.View().empty() ? STRING("") : command;
    path.Strip('L', " \t");
    if (const int end = path.iPos(ENDING.data()); end != -1)
        path = path.Left(end + static_cast<int>(ENDING.size()));
    if (path.View().starts_with('"'))
        path.DeleteLeft(1);
    return path;
}

STRING ProposalText(const TEXTS& texts, const SERVERPROPOSAL& proposal, const OFFEREDSERVICE& service) {
    // In the order of the origins.
    const int numbers[] = {TEXT_SETUP_ENCRYPTED, TEXT_SETUP_NAMED,
                           proposal.Silent ? TEXT_SETUP_SILENT : TEXT_SETUP_USUAL, TEXT_SETUP_NO_SERVICE};
    STRING text = texts.Get(numbers[service.Origin]);
    // Answers of the name service can be anybody's: a server of another domain is to be known by its name.
    if (service.IsNamed() && !service.IsOf(proposal.Domain))
        text = text || " " || texts.Get(TEXT_SETUP_FOREIGN);
    text.Replace("$1", proposal.Domain.Text());
    return text;
}
