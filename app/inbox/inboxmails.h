#pragma once

#include "app/inbox/mailrows.h"

class TARNWICK;

/// The mails of one account as they lie on the server, from its last listing.
class INBOXMAILS : public MAILROWS {
 public:
    explicit INBOXMAILS(TARNWICK& application);

    /// The item with that handle and the mails of its last listing, without any mark but those that the filter's points
    /// set; -1 or an item that has gone: none. What is marked so far is to be carried out or dropped before; but if it
    /// is the same item and InboxKeepMarks is set, marks that were changed by hand stay as they are.
    void Show(int handle);
    /// Handle of the item shown, -1 if there is none.
    int ItemHandle() const { return Handle; }
    /// The window's title: its name, the item's, and the age of a listing that is not of the last minutes.
    STRING Title() const override;

    /// Queues the marked mails for deletion at the item's next check, each once, and takes their marks. A mail whose
    /// copy for the trash cannot be written stays marked, and is not queued. How many these are.
    int Apply() override;

 private:
    void Teach(int mail, bool isSpam) override;

    TARNWICK& Application;
    int Handle = -1;
};
