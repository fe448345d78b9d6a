#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/demo/demoservice.h"
#include "app/demo/mailstore.h"

/// The server's side of one IMAP conversation (RFC 3501): what programs ask that list, delete and move mail. A mail's
/// UID is its number in the store. There are the inbox and the folder "spam".
class IMAPSESSION : public LINESESSION {
 public:
    IMAPSESSION(DEMOSTORE& store, std::string user, std::string password);

    std::string Greeting() const override { return "* OK IMAP4rev1 demo mailbox\r\n"; }
    /// Untagged lines, then the one with the tag.
    std::string Reply(std::string_view line) override;
    /// To a client that waits for them: which mails have gone, and how many there are (RFC 2177).
    std::string Unasked() override;

 private:
    // Each carries a command out, adds untagged lines to Untagged and gives what stands after the tag.
    std::string Carry(std::string_view command, std::string_view arguments);
    std::string Selected(std::string_view command, std::string_view arguments, bool byUid);
    std::string LogIn(std::string_view arguments);
    std::string Select(std::string_view arguments, bool readOnly);
    std::string Search(std::string_view arguments, bool byUid);
    std::string Fetch(const std::vector<size_t>& which, std::string_view items, bool byUid);
    std::string Store(const std::vector<size_t>& which, std::string_view arguments);
    std::string Copy(const std::vector<size_t>& which, std::string_view arguments);
    void Expunge(bool silently);

    // The indexes that a set such as "1:3,7" names; what does not exist is left out.
    std::vector<size_t> Indexes(std::string_view set, bool byUid) const;
    bool FetchItem(size_t index, std::string_view item, std::string& answer);
    std::string Flags(size_t index) const;

    DEMOSTORE& Mailbox;
    const std::string User, Password;
    bool LoggedIn = false, IsSelected = false, ReadOnly = false;
    std::string Untagged, Folder;
    std::string IdleTag;        // of a client that waits for news
    DEMOSTORE::MAILS Mails;     // of the selected folder
    std::vector<bool> Deleted;  // beside them
};

/// An IMAP server that shows the store to one user.
class IMAPSERVICE : public DEMOSERVICE {
 public:
    IMAPSERVICE(DEMOSTORE& store, const std::string& user, const std::string& password);
};
