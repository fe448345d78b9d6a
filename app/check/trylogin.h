#pragma once

#include "app/common/texts.h"
#include "app/mailbox/mailboxes.h"

/// One login to the item's mailbox, to see whether it works. It is no check: nothing of it is kept with the item, and
/// nothing changes on the server. `outcome`, for a person: how many mails there are, or why it has failed; if that was
/// the server's certificate alone, `certificate` is its SHA-256, else empty.
[[nodiscard]] bool TryLogin(const STRINGARRAY& item, MAILBOXES& mailboxes, const TEXTS& texts, STRING& outcome,
                            STRING& certificate);

/// Asks whether a certificate is to be trusted after such a failure.
STRING TrustQuestion(const TEXTS& texts, const STRING& outcome);
