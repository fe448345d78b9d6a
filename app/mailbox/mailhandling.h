#pragma once

#include <functional>
#include <utility>

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/mailbox/mailboxes.h"
#include "app/mailbox/mailhandler.h"

/// The dispatch of every mailbox operation to the handler of the item's kind. Reads the item's keys Name and @Handle,
/// its MAILACCOUNT and what the handler asks for. A kind without a handler is a failed assertion and a failed call. The
/// front end, the texts and the settings outlive it.
class MAILHANDLING : public MAILBOXES {
 public:
    MAILHANDLING(FRONTEND& frontEnd, const TEXTS& texts, const STRINGARRAY& settings)
        : FrontEnd(frontEnd), TextTable(texts), Settings(&settings) {}

    /// Other settings from now on, which outlive this too. Not while a call runs.
    void SetSettings(const STRINGARRAY& settings) { Settings = &settings; }

    /// Who knows that the program is to end; nobody at first. Not while a call runs.
    void SetStopQuestion(STOPQUESTION stopAsked) { StopAsked = std::move(stopAsked); }

    /// The session of the local message store, which outlives this; none at first. Not while a call runs.
    void SetMapi(MAPISTORE* mapi) { Mapi = mapi; }

    /// Who can give up another connection to the server of an item whose call was turned away as there are enough: true
    /// if it has done so. Nobody at first. Not while a call runs.
    void SetRoomMaker(std::function<bool(const STRINGARRAY& item)> makeRoom) { MakeRoom = std::move(makeRoom); }

    STRING GetMailbox(STRINGARRAY& item) override { return Get(item, false); }
    STRING GetSummary(STRINGARRAY& item) override { return Get(item, true).Line(0, WORD_NEVERNULL); }
    bool DeleteMail(STRINGARRAY& item, const STRING& ids, STRING& error) override;
    bool MoveMail(STRINGARRAY& item, const STRING& ids, const STRING& folder, STRING& error) override;

 private:
    STRING Get(STRINGARRAY& item, bool summaryOnly);
    // Runs `work` with the handler of the item's Type; false without one. `said`: the server's last word after that,
    // empty before.
    template <class WORK>
    [[nodiscard]] bool WithHandler(STRINGARRAY& item, STRING& said, WORK work);

    FRONTEND& FrontEnd;
    const TEXTS& TextTable;
    const STRINGARRAY* Settings;
    STOPQUESTION StopAsked = [] { return false; };
    MAPISTORE* Mapi = nullptr;
    std::function<bool(const STRINGARRAY& item)> MakeRoom;
};
