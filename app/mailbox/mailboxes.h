#pragma once

#include "corelib/base/stringarray.h"

/// What the check cycle needs of the mailboxes. Work thread only, one call at a time.
class MAILBOXES {
 public:
    virtual ~MAILBOXES() = default;
    /// The listing of all mail of the item, or a text that begins "-ERR ". Never empty. Sets @InUpdate while it runs.
    virtual STRING GetMailbox(STRINGARRAY& item) = 0;
    /// The first line of that listing, for which no mail is read, or a text that begins "-ERR ".
    virtual STRING GetSummary(STRINGARRAY& item) = 0;
    /// Deletes the mails whose ids stand in `ids`, one a line. True on success; `error` is emptied first and may say
    /// why it failed.
    [[nodiscard]] virtual bool DeleteMail(STRINGARRAY& item, const STRING& ids, STRING& error) = 0;
    /// The same, moving them into `folder` on the server.
    [[nodiscard]] virtual bool MoveMail(STRINGARRAY& item, const STRING& ids, const STRING& folder, STRING& error) = 0;
};
