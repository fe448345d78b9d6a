#include "app/check/trylogin.h"

#include "app/check/persontext.h"
#include "app/common/formats.h"
#include "app/mailbox/account.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"

bool TryLogin(const STRINGARRAY& item, MAILBOXES& mailboxes, const TEXTS& texts, STRING& outcome) {
    STRINGARRAY copy = item;
    const STRING summary = mailboxes.GetSummary(copy);
    if (!ASCII::BeginsWith(summary.View(), "-ERR")) {
        outcome = FormatMailCount(texts, LISTING::ReadSummary(summary).Count);
        return true;
    }
    MAILACCOUNT::SetCounts(copy, {.Failed = true});
    outcome = PersonText(texts.Get(TEXT_CHECK_FAILED) || summary.Mid(5), copy, texts);
    return false;
}
