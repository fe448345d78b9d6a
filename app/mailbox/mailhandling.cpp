#include "app/mailbox/mailhandling.h"

#include <algorithm>

#include "app/mailbox/hotmail.h"
#include "app/mailbox/imap.h"
#include "app/mailbox/listing.h"
#include "app/mailbox/mailhandler.h"
#include "app/mailbox/pop3.h"
#include "corelib/base/trace.h"

namespace {

constexpr const char* NOT_IN_THIS_BUILD = "This build cannot read this kind of mailbox";

bool GetNothing(const MAILBOXCALL&, STRING& result) {
    result = LISTING::ErrorText(NOT_IN_THIS_BUILD);
    return false;
}

bool DeleteNothing(const MAILBOXCALL&, const STRING&, STRING& error) {
    error = NOT_IN_THIS_BUILD;
    return false;
}

bool MoveNothing(const MAILBOXCALL&, const STRING&, const STRING&, STRING& error) {
    error = NOT_IN_THIS_BUILD;
    return false;
}

constexpr MAILHANDLER NO_HANDLER = {GetNothing, DeleteNothing, MoveNothing};

// Every kind of mailbox that there is. One whose handler is not built yet says so to the user.
constexpr struct {
    int Type;
    const MAILHANDLER* Handler;
} HANDLERS[] = {
    {ITEMTYPE_MAPI, &NO_HANDLER},
    {ITEMTYPE_POP3, &PopHandler},
    {ITEMTYPE_IMAP, &ImapHandler},
    {ITEMTYPE_HOTMAIL, &HotmailHandler},
};

}  // namespace

template <class WORK>
bool MAILHANDLING::WithHandler(STRINGARRAY& item, WORK work) {
    int type = item.GetNumber("Type");
    const auto* row = std::find_if(std::begin(HANDLERS), std::end(HANDLERS), [&](auto& r) { return r.Type == type; });
    if (!ASSERTION(row != std::end(HANDLERS), "FALSE"))
        return false;
    PROGRESS progress(FrontEnd, TextTable, item.GetNumber("@Handle"));
    STRING source = item.Get("Source");
    MAILBOXCALL call{item,
                     progress,
                     *Settings,
                     StopAsked,
                     source.Word(0, "|", WORD_NEVERNULL),
                     source.Word(1, "|", WORD_NEVERNULL),
                     item.Get("Source2")};
    return work(*row->Handler, call);
}

STRING MAILHANDLING::GetMailbox(STRINGARRAY& item) {
    Trace("TARNWICK::GetMailbox %s\n", item.Get("Name").Text());
    item.Set("@InUpdate", "1");
    STRING text;
    const bool listed =
        WithHandler(item, [&](const MAILHANDLER& handler, const MAILBOXCALL& call) { return handler.Get(call, text); });
    if (!listed && text.Length() == 0)
        text = "-ERR Unknown Error";
    Trace("TARNWICK::GetMailbox rc= %s\n", text.Line(0).Text());
    item.Set("@InUpdate", "0");
    return text;
}

bool MAILHANDLING::DeleteMail(STRINGARRAY& item, const STRING& ids, STRING& error) {
    Trace("TARNWICK::DeleteMail rc= %s\n", ids.Text());
    error = "";
    bool ok = WithHandler(
        item, [&](const MAILHANDLER& handler, const MAILBOXCALL& call) { return handler.Delete(call, ids, error); });
    Trace("TARNWICK::DeleteMail ok= %d/%s\n", ok, error.Text());
    return ok;
}

// Its lines in the trace are those of DeleteMail: to the server a move is a deletion with a copy made first.
bool MAILHANDLING::MoveMail(STRINGARRAY& item, const STRING& ids, const STRING& folder, STRING& error) {
    Trace("TARNWICK::DeleteMail rc= %s\n", ids.Text());
    error = "";
    bool ok = WithHandler(item, [&](const MAILHANDLER& handler, const MAILBOXCALL& call) {
        return handler.Move(call, ids, folder, error);
    });
    Trace("TARNWICK::DeleteMail ok= %d/%s\n", ok, error.Text());
    return ok;
}
