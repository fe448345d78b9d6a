#pragma once

#include <functional>
#include <string>

#include "app/console/consolefrontend.h"
#include "app/core/tarnwick.h"

/// Teaches the filter the mails of a mailbox file ("-": standard input), a mail in a file of its own, or the files of a
/// directory (also of a Maildir): cut as a check cuts them, each once, and prints now and then how many there were.
/// What was learnt before a stop stays. False, with a message for the user, if nothing can be read or is no mail.
[[nodiscard]] bool LearnMails(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const STRING& file, bool isSpam,
                              const std::function<bool()>& stopped, std::string& message);
