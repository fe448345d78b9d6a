#pragma once

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/mailbox/mailboxes.h"

/// The dispatch of every mailbox operation to the handler of the item's Type. Reads the item's keys Name, Type, Source
/// (server and user, split at "|"), Source2 (password), @Handle and what the handler asks for. An unknown Type is a
/// failed assertion and a failed call. The front end and the texts outlive it.
class MAILHANDLING : public MAILBOXES {
 public:
    MAILHANDLING(FRONTEND& frontEnd, const TEXTS& texts) : FrontEnd(frontEnd), TextTable(texts) {}

    STRING GetMailbox(STRINGARRAY& item) override;
    bool DeleteMail(STRINGARRAY& item, const STRING& ids, STRING& error) override;
    bool MoveMail(STRINGARRAY& item, const STRING& ids, const STRING& folder, STRING& error) override;

 private:
    FRONTEND& FrontEnd;
    const TEXTS& TextTable;
};
