#pragma once

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/mailbox/account.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/stringarray.h"

class MAPISTORE;

/// Shows how far a conversation is, in the row of its item.
class PROGRESS {
 public:
    PROGRESS(FRONTEND& frontEnd, const TEXTS& texts, int handle)
        : FrontEnd(frontEnd), TextTable(texts), Handle(handle) {}
    /// The text of that number with `detail` directly after it.
    void Show(int text, const STRING& detail) const { FrontEnd.SetItemStatus(Handle, TextTable.Get(text) || detail); }
    /// A text as it is.
    STRING Text(int text) const { return TextTable.Get(text); }

 private:
    FRONTEND& FrontEnd;
    const TEXTS& TextTable;
    int Handle;
};

/// One call on one mailbox, as a handler gets it. Lives for that call.
struct MAILBOXCALL {
    STRINGARRAY& Item;  // for what only one kind of mailbox asks and tells
    const PROGRESS& Progress;
    const STRINGARRAY& Settings;  // the application's
    const STOPQUESTION& StopAsked;
    STRING Server;
    STRING User;
    STRING Password;
    MAILSECURITY Security = {};
    bool SummaryOnly = false;   // the listing is wanted without its mails
    MAPISTORE* Mapi = nullptr;  // the program's session, if it has one
};

/// What each kind of mailbox offers. A handler connects, logs on, does its work, logs off and disconnects within one
/// call, on the work thread. Its MAILBOXKIND names it.
struct MAILHANDLER {
    /// The whole listing (see LISTING), or false and a text that begins "-ERR ". Asked for the summary only, it reads
    /// no mail for it, and may leave out the blocks.
    bool (*Get)(const MAILBOXCALL& call, STRING& result);
    /// ids: one message id a line. `error` comes in empty and may get a text on failure.
    bool (*Delete)(const MAILBOXCALL& call, const STRING& ids, STRING& error);
    bool (*Move)(const MAILBOXCALL& call, const STRING& ids, const STRING& folder, STRING& error);
};
