#pragma once

#include <string>
#include <string_view>

#include "app/reading/htmltext.h"
#include "corelib/base/stringarray.h"

/// What a person is shown of a mail, in every window and on the terminal: UTF-8 in the mail's own letters, without any
/// character that could act as a control or turn the direction of writing. Records (see BuildMailHash) keep their
/// bytes.
namespace SHOWNMAIL {

/// One line each. Sender and recipient: the display name of the first one, or the address without one.
struct HEADER {
    std::string Sender, Recipient, Subject;
};
HEADER Header(const STRINGARRAY& record);
/// Lines ended by "\n": the text of the mail, see ReadableText.
std::string Text(const STRINGARRAY& record);

/// The header as the server sent it, where the listing carries it whole beside the block's own lines; else null.
STRING ServerHeader(const STRINGARRAY& record);
/// The body is what a person reads, in UTF-8, whatever that header says of it.
bool IsRead(const STRINGARRAY& record);

/// A mail's parts as its block in a listing carries them.
struct SOURCE {
    /// The lines of the block's own header, and its body; both outlive the source.
    SOURCE(std::string_view header, std::string_view body);
    SOURCE(const SOURCE&) = delete;
    SOURCE& operator=(const SOURCE&) = delete;
    /// The text as from ReadableText, of the body's first bytes.
    std::string Text(READBY reader) const;

    std::string Fields;        // of the server's header, or of the block's own where that is all; one to a line
    bool IsOwnHeader = false;  // the latter
    std::string_view Body;     // as it came, but for what a server puts around it
    bool IsRead = false;       // the mailbox has read the mail itself: the body is the text

 private:
    std::string Single;
};

}  // namespace SHOWNMAIL
