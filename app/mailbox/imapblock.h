#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "app/mailbox/imapconversation.h"
#include "app/mailbox/listing.h"
#include "app/mailbox/mailhandler.h"

/// A mail as an IMAP server has shown it.
struct IMAPMAIL {
    std::optional<uint64_t> Size;
    std::optional<std::string> Header;  // whole
    std::optional<std::string> Fields;  // those of it that everybody wants
    std::optional<std::string> Body;    // the beginning of the first part
    bool FlagsKnown = false;
    bool Seen = false;
    uint32_t Uid = 0;
};

/// What makes blocks of mails, whichever way they were asked for.
class IMAPBLOCKS {
 public:
    /// bytes: of each body that are wanted.
    IMAPBLOCKS(IMAPCONVERSATION& talk, const MAILBOXCALL& call, int bytes)
        : Talk(talk), Call(call), Bytes(bytes), NoText(call.Progress.Text(TEXT_NOT_FETCHED)) {}

    /// Asks for a mail by its number, in small commands, one after the other. False if that ends the conversation.
    [[nodiscard]] bool Ask(uint32_t number, IMAPMAIL& mail);
    /// Adds a mail's block, whose texts are changed for it.
    void Append(IMAPMAIL& mail, LISTING::WRITER& listing) const;
    /// Tells the row how far it is.
    void ShowPosition(int position, int count) const;
    /// What is asked for of a body, as it stands in commands.
    std::string BodyItem() const { return "BODY.PEEK[1]<0." + std::to_string(Bytes) + ">"; }
    bool WantsBody() const { return Bytes > 0; }

 private:
    IMAPCONVERSATION& Talk;
    const MAILBOXCALL& Call;
    const int Bytes;
    const STRING NoText;
};

namespace IMAP {

inline constexpr const char* HEADER_ITEM = "BODY.PEEK[HEADER]";
inline constexpr const char* FIELDS_ITEM = "BODY.PEEK[HEADER.FIELDS (DATE TO FROM SUBJECT MESSAGE-ID)]";
inline constexpr const char* NO_UID = "IMAP99 BAD UID (not found)";

/// Reads the folder that has been selected into a listing: what the last one holds is taken from there, and the rest is
/// asked for in commands of many mails, ahead of replies. False ends the conversation, unless `plain` is set: the
/// server has said something that only the plain way understands.
[[nodiscard]] bool ReadFolderFast(IMAPCONVERSATION& talk, const MAILBOXCALL& call, IMAPBLOCKS& blocks,
                                  const std::string& scope, IMAPCONVERSATION::FOLDER& folder, STRING& result,
                                  bool& plain);

}  // namespace IMAP
