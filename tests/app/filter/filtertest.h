#pragma once

#include "app/filter/spamdefinitions.h"
#include "app/filter/spamfilter.h"
#include "app/filter/spamvariables.h"
#include "app/filter/wordscanner.h"
#include "tests/app/apptest.h"

/// The settings that the filter reads, with nothing in its lists, and the variables' defaults.
class FILTERTEST : public testing::Test {
 protected:
    FILTERTEST() {
        FillSettings(State, {{"SpamMyInterests", ""},
                             {"SpamBadDynaWords", ""},
                             {"SpamBadSubject", ""},
                             {"SpamMyEmail", "me@here.example\r\nMy Name"},
                             {"SpamDomainExceptions", ""}});
        LoadSpamVariables(Vars, nullptr);
    }

    /// A table of these definitions alone.
    SPAMTABLE Table(std::string_view definitions) const {
        SPAMWORDS words;
        words.AddDefinitions(STRING(definitions));
        words.ResolveMarkers();
        return {std::move(words), STRINGARRAY(Vars)};
    }

    STRINGARRAY State;
    STRINGARRAY Vars;
    NUMBERTEXTS Texts;
};
