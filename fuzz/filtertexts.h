#pragma once

#include "app/common/texts.h"
#include "app/core/settings.h"
#include "corelib/base/stringarray.h"

/// What a scan or a check asks for beside its table: texts, and the settings, with all verdicts off.
struct FILTERSTATE {
    class PLAINTEXTS : public TEXTS {
     public:
        STRING Get(int id) const override { return id == 3036 ? "many $HOWMANY/" : "text, "; }
    };

    FILTERSTATE() {
        for (const SETTING& setting : SETTINGS)
            State.Set(setting.Key, setting.Kind == SETTINGKIND::DATAFILE ? "" : setting.Default);
        for (const auto& [key, value] : {std::pair{"SpamDistrLists", "3"},
                                         {"SpamMyEmail", "me@example.org"},
                                         {"SpamDoDomain", "0"},
                                         {"SpamDoIgnore", "0"},
                                         {"SpamDomainExceptions", ""},
                                         {"SpamMyInterests", ""},
                                         {"SpamBadDynaWords", "a;!;*b*"},
                                         {"SpamBadSubject", ""}})
            State.Set(key, value);
    }

    STRINGARRAY State;
    PLAINTEXTS Texts;
};
