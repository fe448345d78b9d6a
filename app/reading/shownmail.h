#pragma once

#include <string>
#include <string_view>

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

}  // namespace SHOWNMAIL
