#pragma once

#include <string_view>
#include <vector>

#include "corelib/net/baseio.h"

/// The line exchange that POP3, IMAP and SMTP share.
namespace TCP {

/// Sends command and CR LF. With a reply buffer and a timeoutMs above 0 it then reads one line into it, and
/// returns and tells what ReadLine does; otherwise true. The trace shows commands as they are.
bool WriteCommand(BASEIO& device, const char* command, char* reply, int replySize, int timeoutMs,
                  bool* whole = nullptr);

/// Sends command, secret and CR LF; the trace shows the command alone.
void WriteSecret(BASEIO& device, const char* command, std::string_view secret);
/// What a peer has said, with "***" in place of secrets that it repeats. One of less than four bytes stays: any word
/// might hold it.
STRING WithoutSecrets(STRING said, const std::vector<STRING>& secrets);

/// Reads one line of at most size-1 bytes into buffer, without its line break and without any "\r". A longer line comes
/// in pieces; what has come of a line when timeoutMs has passed comes as if it were the line. False, with an empty
/// buffer, if nothing came. `whole`, if given, tells whether the end of the line was seen.
bool ReadLine(BASEIO& device, char* buffer, int size, int timeoutMs, bool* whole = nullptr);

}  // namespace TCP
