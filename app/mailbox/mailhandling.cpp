#include "app/mailbox/mailhandling.h"

#include "app/mailbox/account.h"
#include "app/mailbox/imapidle.h"
#include "corelib/base/trace.h"

namespace {

// Nobody knocks with an empty one: servers count what fails.
constexpr const char* LOCKED_PASSWORD = "-ERR 999 No password";
constexpr int MOST_ROOM = 5;

// Some servers say so, some hang up without a word.
bool WasTurnedAway(std::string_view said) {
    return SaysCrowded(said) || said.ends_with("Remote disconnected");
}

}  // namespace

template <class WORK>
bool MAILHANDLING::WithHandler(STRINGARRAY& item, STRING& said, WORK work) {
    const MAILBOXKIND& kind = MAILACCOUNT::Kind(item);
    if (!ASSERTION(kind.Handler, "FALSE"))
        return false;
    PROGRESS progress(FrontEnd, TextTable, item.GetNumber("@Handle"));
    const MAILADDRESS address = MAILACCOUNT::Address(item);
    MAILBOXCALL call{item, progress, *Settings, StopAsked, address.Server, address.User, MAILACCOUNT::Password(item)};
    call.Security = MAILACCOUNT::Security(item);
    call.Mapi = Mapi;
    // Several have to make room where a server has let too many in.
    for (int tries = 0; !work(*kind.Handler, call); ++tries) {
        const bool mayHelp = kind.CanPush && MakeRoom && tries < MOST_ROOM && WasTurnedAway(said.View());
        if (!mayHelp || StopAsked() || !MakeRoom(item))
            return false;
        said = "";
    }
    return true;
}

STRING MAILHANDLING::Get(STRINGARRAY& item, bool summaryOnly) {
    Trace("TARNWICK::GetMailbox %s\n", item.Get("Name").Text());
    item.Set("@InUpdate", "1");
    item.Set("@ListedMails", "");
    STRING text;
    if (MAILACCOUNT::IsPasswordLocked(item))
        text = LOCKED_PASSWORD;
    const bool listed =
        text.Length() == 0 && WithHandler(item, text, [&](const MAILHANDLER& handler, MAILBOXCALL& call) {
            call.SummaryOnly = summaryOnly;
            return handler.Get(call, text);
        });
    if (!listed && text.Length() == 0)
        text = "-ERR Unknown Error";
    Trace("TARNWICK::GetMailbox rc= %s\n", text.Line(0).Text());
    item.Set("@InUpdate", "0");
    return text;
}

bool MAILHANDLING::DeleteMail(STRINGARRAY& item, const STRING& ids, STRING& error) {
    Trace("TARNWICK::DeleteMail rc= %s\n", ids.Text());
    error = MAILACCOUNT::IsPasswordLocked(item) ? LOCKED_PASSWORD : "";
    bool ok = error.Length() == 0 && WithHandler(item, error, [&](const MAILHANDLER& handler, const MAILBOXCALL& call) {
                  return handler.Delete(call, ids, error);
              });
    Trace("TARNWICK::DeleteMail ok= %d/%s\n", ok, error.Text());
    return ok;
}

// Its lines in the trace are those of DeleteMail: to the server a move is a deletion with a copy made first.
bool MAILHANDLING::MoveMail(STRINGARRAY& item, const STRING& ids, const STRING& folder, STRING& error) {
    Trace("TARNWICK::DeleteMail rc= %s\n", ids.Text());
    error = MAILACCOUNT::IsPasswordLocked(item) ? LOCKED_PASSWORD : "";
    bool ok = error.Length() == 0 && WithHandler(item, error, [&](const MAILHANDLER& handler, const MAILBOXCALL& call) {
                  return handler.Move(call, ids, folder, error);
              });
    Trace("TARNWICK::DeleteMail ok= %d/%s\n", ok, error.Text());
    return ok;
}
