#include "app/dialogs/logintest.h"

#include "app/check/trylogin.h"
#include "app/common/frontend.h"
#include "app/mailbox/mailhandling.h"

STRING LoginOutcome(const STRINGARRAY& item, const STRINGARRAY& settings, const TEXTS& texts,
                    const STOPQUESTION& stopAsked, STRING& certificate, MAPISTORE* mapi) {
    FRONTEND nobody;  // the account's row tells of checks only
    MAILHANDLING mailboxes(nobody, texts, settings);
    mailboxes.SetStopQuestion(stopAsked);
    mailboxes.SetMapi(mapi);
    STRING said;
    if (!TryLogin(item, mailboxes, texts, said, certificate))
        return said;
    STRING text = texts.Get(TEXT_LOGIN_WORKS);
    text.Replace("$1", said.Text());
    return text;
}
