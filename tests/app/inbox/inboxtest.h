#pragma once

#include "app/inbox/mailrows.h"
#include "tests/app/core/applicationtest.h"
#include "tests/app/inbox/blocks.h"

/// An application with one account.
class INBOXTEST : public APPLICATIONTEST {
 protected:
    INBOXTEST() {
        STRINGARRAY item = Application.NewItem();
        item.Set("Security", "");
        item.Set("Name", "anna");
        EXPECT_TRUE(Application.AddItem(item));
        for (const char* key :
             {"SpamDoMark", "SpamDoIgnore", "InboxDeleteToTrash", "LastInboxSortColumn", "InboxKeepMarks"})
            Application.pState.Set(key, "0");
    }
    STRINGARRAY& Item() { return Application.Items[0]; }
    int Handle() { return Item().GetNumber("@Handle"); }
    void List(std::initializer_list<std::string> mails) { Item().Set("@FileStore", ListingOf(mails)); }
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
