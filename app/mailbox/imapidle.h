#pragma once

#include <string_view>

#include "app/mailbox/imapconversation.h"

/// What has become of a folder since somebody has looked.
enum class NEWS {
    NONE,
    MARKS,  // mails have gone, or have other flags
    MAIL    // there are more mails
};

/// What a server tells of one folder, line by line, without a network.
class IMAPNEWS {
 public:
    /// Of so many mails at first; -1: nobody knows.
    explicit IMAPNEWS(int count = -1) : Count(count) {}
    /// Any line; what tells of nothing new changes nothing.
    NEWS Take(std::string_view line);

 private:
    int Count;
};

/// A conversation with an IMAP server in which the server tells of changes in one folder (RFC 2177). It reads no mail,
/// and changes nothing there.
class IMAPIDLE {
 public:
    /// The folder "" is the inbox. All of it outlives this object.
    IMAPIDLE(BASEIO& device, const MAILBOXCALL& call, STRING folder);

    enum class STATE {
        GOOD,
        LOST,     // the server is not there, has gone, or is no longer understood
        REFUSED,  // login, line or folder: the same call would fail in the same way
        CROWDED,  // the server has connections enough
        UNABLE    // it does not tell of changes
    };
    /// Calls, logs in, and lets the server begin to tell. From then on `heard` collects what it has told.
    [[nodiscard]] STATE Begin(NEWS& heard);
    /// Hears what has come by now, some lines of it at most, without waiting for more than the end of a line.
    [[nodiscard]] STATE Hear(NEWS& heard);
    /// True if something has come that is not heard yet, the end of the connection among it.
    bool HasMore();
    /// Lets the server begin anew, before it takes the silence for an end.
    [[nodiscard]] STATE Renew(NEWS& heard);
    /// The server's last word on a failure, or our own.
    const STRING& LastLine() const { return Talk.LastLine(); }

 private:
    STATE Listen(NEWS& heard);
    STATE WhyNot(STATE refused) const;
    IMAPCONVERSATION::LISTENER Collect(NEWS& heard);

    BASEIO& Device;
    IMAPCONVERSATION Talk;
    const STRING Folder;
    IMAPNEWS News;
};

/// Whether a server's words mean that there are connections enough to it.
bool SaysCrowded(std::string_view words);
