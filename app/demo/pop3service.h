#pragma once

#include <set>
#include <string>
#include <string_view>

#include "app/demo/demoservice.h"
#include "app/demo/mailstore.h"

/// The server's side of one POP3 conversation (RFC 1939). Deletions take effect at QUIT.
class POP3SESSION : public LINESESSION {
 public:
    POP3SESSION(DEMOSTORE& store, std::string user, std::string password);

    std::string Greeting() const override { return "+OK demo mailbox\r\n"; }
    /// A reply of several lines ends with a line of ".".
    std::string Reply(std::string_view line) override;

 private:
    std::string Transaction(std::string_view command, std::string_view arguments);
    // The index of the mail that the number names, or -1.
    int Find(std::string_view number) const;
    std::string Listing(std::string_view number, bool sizes) const;
    std::string Text(size_t index, int bodyLines) const;

    DEMOSTORE& Store;
    const std::string User, Password;
    bool UserGood = false, LoggedIn = false;
    DEMOSTORE::MAILS Mails;
    std::set<size_t> Deleted;
};

/// A POP3 server that shows the store to one user.
class POP3SERVICE : public DEMOSERVICE {
 public:
    POP3SERVICE(DEMOSTORE& store, const std::string& user, const std::string& password);
};
