#pragma once

#include "app/inbox/mailrows.h"
#include "tests/app/core/applicationtest.h"

/// An application with one account.
class INBOXTEST : public APPLICATIONTEST {
 protected:
    INBOXTEST() {
        STRINGARRAY item = Application.NewItem();
        item.Set("Name", "anna");
        EXPECT_TRUE(Application.AddItem(item));
        for (const char* key : {"SpamDoMark", "SpamDoIgnore", "InboxDeleteToTrash", "LastInboxSortColumn"})
            Application.pState.Set(key, "0");
    }
    STRINGARRAY& Item() { return Application.Items[0]; }
    int Handle() { return Item().GetNumber("@Handle"); }
    /// The listing of the account: a block for each mail, in the form of mails 1, 2, ...
    void List(std::initializer_list<std::string> mails) {
        std::string listing = std::to_string(mails.size()) + " msgs|0 unread|0 bytes\n";
        for (const std::string& mail : mails)
            listing += mail + '\1';
        Item().Set("@FileStore", STRING(std::string_view(listing)));
    }
    static std::string Block(int number, const std::string& subject, int points, int kiloBytes, const char* more = "") {
        const std::string n = std::to_string(number);
        return "X-SpamPoints: " + std::to_string(points) + "\nX-Size: " + std::to_string(kiloBytes * 1024) +
               "\nX-Message-Id: " + n + "|id" + n + "\nMessage-Id: <" + n + "@x>\nFrom: Sender " + n + " <s" + n +
               "@example.org>\nSubject: " + subject + "\n" + more + "\nBody " + n + "\n";
    }
    size_t Copies() {
        return static_cast<size_t>(OSYS::CollectFiles(Application.Trash().Directory().Text(), "*.*", nullptr, 0));
    }
    /// The commands that can be given, by the last digit of their numbers.
    static std::string Enabled(const MAILROWS& rows, const std::vector<int>& selected, bool canAnswer = true) {
        std::string commands;
        for (const COMMANDSTATE& state : rows.CommandStates(selected, canAnswer))
            if (state.Enabled.value_or(false))
                commands += std::to_string(state.Command % 10);
        return commands;
    }
};
