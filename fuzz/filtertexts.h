#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// What a scan asks for beside its table: texts, and the settings that it reads.
struct FILTERSTATE {
    class PLAINTEXTS : public TEXTS {
     public:
        STRING Get(int id) const override { return id == 3036 ? "many $HOWMANY/" : "text, "; }
    };

    FILTERSTATE() {
        for (const auto& [key, value] : {std::pair{"SpamDistrLists", "3"},
                                         {"SpamHaveDistrLists", "1"},
                                         {"SpamBccReceiver", "2"},
                                         {"SpamMultiReicipients", "1"},
                                         {"SpamMyEmail", "me@example.org"},
                                         {"SpamMinWords", "3"},
                                         {"SpamDoDomain", "0"},
                                         {"SpamDomainExceptions", ""},
                                         {"SpamFilterDisabled", "0"},
                                         {"SpamVarsFile", ""},
                                         {"SpamFilename", ""},
                                         {"SpamMyFriends", ""},
                                         {"SpamBadSenders", ""},
                                         {"SpamMyInterests", ""},
                                         {"SpamBadDynaWords", "a;!;*b*"},
                                         {"SpamBadSubject", ""}})
            State.Set(key, value);
    }

    STRINGARRAY State;
    PLAINTEXTS Texts;
};
