#pragma once

#include <initializer_list>

#include "app/core/storedpasswords.h"
#include "app/mailbox/account.h"
#include "corelib/base/recordarray.h"
#include "tests/support/testsupport.h"

/// Starts the built program in a folder of its own and keeps what it said.
class PROGRAMRUN {
 public:
    struct RESULT {
        int Code;
        std::string Out, Err;
    };

    /// Runs it to its end, in English, with the data directory of this object unless `where` names another. The second
    /// expects that exit code.
    RESULT Run(std::initializer_list<std::string> words) { return Start(words, DataDir()); }
    RESULT Run(std::initializer_list<std::string> words, int code) {
        RESULT result = Start(words, DataDir());
        EXPECT_EQ(result.Code, code) << result.Out << result.Err;
        return result;
    }
    RESULT RunIn(const STRING& dataDir, std::initializer_list<std::string> words) { return Start(words, dataDir); }
    /// Runs it until its output holds `text`, and then sends it the signal. Not on Windows, which has none.
    /// With `outlives`, it starts with hang-ups ignored, must not end by the signal, and is ended by another.
    RESULT RunUntil(const std::string& text, const std::string& signal, std::initializer_list<std::string> words,
                    bool outlives = false);
    static bool HasSignals();

    STRING DataDir() const { return Folder.File("data"); }
    STRING File(const char* name) const { return Folder.File(name); }
    /// The accounts as they are stored, which are to be so many.
    RECORDARRAY Accounts(int count) const {
        RECORDARRAY items(8, 8);
        EXPECT_EQ(items.LoadAll((DataDir() || "\\accounts.ini").Text()), count);
        for (int i = 0; i < items.Count(); ++i)
            STOREDPASSWORDS().Open(items[i], MAILACCOUNT::PASSWORD_KEY);
        return items;
    }
    void Store(RECORDARRAY& items) const {
        EXPECT_EQ(items.SaveAll((DataDir() || "\\accounts.ini").Text()), items.Count());
    }
    void Change(std::initializer_list<std::pair<const char*, STRING>> settings) const {
        STRINGARRAY state;
        EXPECT_TRUE(state.Load((DataDir() || "\\tarnwick.ini").Text()));
        for (const auto& [key, value] : settings)
            state.Set(key, value);
        EXPECT_TRUE(state.Save((DataDir() || "\\tarnwick.ini").Text()));
    }

 private:
    RESULT Start(std::initializer_list<std::string> words, const STRING& dataDir);
    std::string CommandLine(std::initializer_list<std::string> words, const STRING& dataDir) const;
    RESULT System(const std::string& command);

    TEMPDIR Folder;
};
