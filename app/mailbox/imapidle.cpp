#include "app/mailbox/imapidle.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "app/mailbox/imapreply.h"
#include "app/mailbox/protection.h"
#include "corelib/base/ascii.h"
#include "corelib/net/tcpio.h"

NEWS IMAPNEWS::Take(std::string_view line) {
    constexpr std::string_view VANISHED = "* VANISHED ";
    int count = 0;
    if (uint32_t number = 0; IMAPREPLY::ReadExpunge(line, number)) {
        Count = std::max(Count - 1, -1);
        return NEWS::MARKS;
    }
    if (ASCII::BeginsWith(line, VANISHED)) {
        Count = -1;  // it names UIDs, of which nobody here knows whether they were there
        return NEWS::MARKS;
    }
    if (IMAPREPLY::ReadExists(line, count)) {
        const int before = std::exchange(Count, count);
        return count > before ? NEWS::MAIL : count < before ? NEWS::MARKS : NEWS::NONE;
    }
    IMAPREPLY::FETCHED mail;
    IMAPREPLY::TakeFetch(line, IMAPREPLY::ANY_MAIL, mail);
    return mail.FlagsKnown ? NEWS::MARKS : NEWS::NONE;
}

IMAPIDLE::IMAPIDLE(BASEIO& device, const MAILBOXCALL& call, STRING folder)
    : Device(device), Talk(device, call), Folder(std::move(folder)) {}

IMAPCONVERSATION::LISTENER IMAPIDLE::Collect(NEWS& heard) {
    return [this, &heard](std::string_view line) { heard = std::max(heard, News.Take(line)); };
}

IMAPIDLE::STATE IMAPIDLE::WhyNot(STATE refused) const {
    if (SaysCrowded(LastLine().View()))
        return STATE::CROWDED;
    const bool untrusted = Talk.IsUnconnected() && atoi(Device.GetInfo("LASTERROR")) == TCPERR_TLS_UNTRUSTED;
    const bool ours = LastLine() == NO_LOGIN_WAY || LastLine() == NO_STARTTLS;
    if (untrusted || ours)
        return STATE::REFUSED;
    // A server that is about to go, or cannot do something for the moment, may say the opposite a little later.
    const bool isPassing =
        ASCII::Holds(LastLine().View(), "[UNAVAILABLE]") || ASCII::BeginsWith(LastLine().View(), "*");
    return Talk.IsAnswered() && !isPassing ? refused : STATE::LOST;
}

IMAPIDLE::STATE IMAPIDLE::Begin(NEWS& heard) {
    if (!Talk.Connect() || !Talk.LogIn())
        return WhyNot(STATE::REFUSED);
    if (!Talk.CanIdle())
        return WhyNot(STATE::UNABLE);
    IMAPCONVERSATION::FOLDER opened;
    if (!Talk.Examine(Folder, opened))
        return WhyNot(STATE::REFUSED);
    News = IMAPNEWS(opened.Count);
    return Listen(heard);
}

IMAPIDLE::STATE IMAPIDLE::Listen(NEWS& heard) {
    return Talk.BeginIdle(Collect(heard)) ? STATE::GOOD : WhyNot(STATE::UNABLE);
}

bool IMAPIDLE::HasMore() {
    // What came ahead of the end is still to be heard.
    return Device.NumAvail() > 0 || Device.GetInfo("ONLINE") == "0";
}

IMAPIDLE::STATE IMAPIDLE::Hear(NEWS& heard) {
    // Whoever talks without a pause leaves the caller time to tell what there was.
    constexpr int MOST_LINES = 100;
    for (int lines = 0; lines < MOST_LINES && HasMore(); ++lines)
        if (!Talk.HearIdle(Collect(heard)))
            return STATE::LOST;
    return STATE::GOOD;
}

IMAPIDLE::STATE IMAPIDLE::Renew(NEWS& heard) {
    return Talk.EndIdle(Collect(heard)) ? Listen(heard) : STATE::LOST;
}

bool SaysCrowded(std::string_view words) {
    return ASCII::Holds(words, "[LIMIT]") || ASCII::Holds(words, "Maximum number of") ||
           ASCII::Holds(words, "too many") || ASCII::Holds(words, "connection limit");
}
