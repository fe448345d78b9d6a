#include "app/check/trylogin.h"

#include "app/check/persontext.h"
#include "app/common/formats.h"
#include "app/mailbox/account.h"
#include "app/mailbox/listing.h"
#include "app/mailbox/protection.h"
#include "corelib/base/ascii.h"

bool TryLogin(const STRINGARRAY& item, MAILBOXES& mailboxes, const TEXTS& texts, STRING& outcome, STRING& certificate) {
    STRINGARRAY copy = item;
    const STRING summary = mailboxes.GetSummary(copy);
    if (!ASCII::BeginsWith(summary.View(), "-ERR")) {
        certificate = "";
        outcome = FormatMailCount(texts, LISTING::ReadSummary(summary).Count);
        return true;
    }
    certificate = copy.Exists(REFUSED_CERTIFICATE) ? copy.Get(REFUSED_CERTIFICATE) : STRING("");
    MAILACCOUNT::SetCounts(copy, {.Failed = true});
    outcome = PersonText(texts.Get(TEXT_CHECK_FAILED) || summary.Mid(5), copy, texts);
    return false;
}

STRING TrustQuestion(const TEXTS& texts, const STRING& outcome) {
    STRING text = texts.Get(TEXT_TRUST_QUESTION);
    text.Replace("$1", outcome.Text());
    return text;
}
