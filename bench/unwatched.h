#pragma once

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/mailbox/mailhandler.h"

/// What the protocols report to, with nobody who looks at it.
class UNWATCHED {
 public:
    operator PROGRESS&() { return Progress; }
    MAILBOXCALL Call(const STRING& server, const STRING& user, const STRING& password) {
        return {Item, Progress, NoKeys, StopAsked, server, user, password};
    }
    STRINGARRAY Item;

 private:
    class ONETEXT : public TEXTS {
     public:
        STRING Get(int) const override { return "text"; }
    };

    FRONTEND Nobody;
    ONETEXT Texts;
    PROGRESS Progress{Nobody, Texts, 1};
    STRINGARRAY NoKeys;
    STOPQUESTION StopAsked = [] { return false; };
};
