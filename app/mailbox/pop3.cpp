#include "app/mailbox/pop3.h"

#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>

#include "app/mailbox/knownmails.h"
#include "app/mailbox/listing.h"
#include "app/mailbox/popconversation.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"

// No header of the program shows it: the tests alone write there (tests/support/times.h).
namespace SHRINKABLE {
POPTIMES PopTimes;
}
constinit const POPTIMES& PopTimes = SHRINKABLE::PopTimes;

namespace {

using namespace POP3;

bool ShowAll(TALK& talk, const MAILBOXCALL& call, int lines, STRING& result) {
    MAILDROP drop;
    if (!talk.AskState(drop))
        return false;
    LISTING::WRITER listing;
    int listed = 0;
    const int wanted = call.SummaryOnly ? 0 : drop.Count;
    // Numbers grow with arrival: the newest mail comes first.
    for (int number = wanted; number >= 1 && listing.Length() + listed * PopTimes.MailPrice < PopTimes.ListingBytes;
         --number) {
        STRING position;
        position.Format(" %d/%d", drop.Count - number + 1, drop.Count);
        call.Progress.Show(TEXT_READING, position);
        // A mail that is refused may have gone meanwhile, or be broken: the count tells that one is missing.
        if (ShowMail(talk, number, lines, listing))
            ++listed;
        else if (!talk.IsRefused())
            return false;
    }
    if (listed == 0 && wanted > 0)
        return false;
    talk.Ask("QUIT");
    result = listing.Take(LISTING::SummaryLine(drop.CountText, drop.CountText, false, drop.SizeText).View());
    return true;
}

bool EraseOne(TALK& talk, const STRING& id, const std::unordered_map<std::string, std::string>& known) {
    const STRING id1 = id.Word(0, "|", WORD_NEVERNULL), id2 = id.Word(1, "|", WORD_NEVERNULL);
    ASSERTION(id1.Length() > 0 && id2.Length() > 0, "id1.Length()>0 && id2.Length()>0");
    MAILNUMBER mail;
    int64_t size = 0;
    // Only a mail that is still the same one goes; any other is left alone, and so is what is no id.
    if (!ASCII::ReadNumber(id1.View(), mail.Number) || !ASCII::ReadNumber(id2.View(), size))
        return true;
    if (!talk.AskSize(mail))
        return false;
    if (!mail.IsNamed || mail.Size != size)
        return true;
    // One that has taken its place may have its size, too, as reports that come each day do.
    const auto before = known.find(HeadLines(mail));
    if (before != known.end()) {
        std::string now;
        if (!talk.AskId(mail.Number, now))
            return false;
        if (now != before->second) {
            Trace("TARNWICK::PopDelete %s is another mail now, which stays\n", id.Text());
            return true;
        }
    }
    return talk.Ask(STRING("DELE ") || std::to_string(mail.Number).c_str());
}

bool EraseAll(TALK& talk, const MAILBOXCALL& call, const STRING& ids) {
    MAILDROP drop;
    if (!talk.AskState(drop))
        return false;
    const std::unordered_map<std::string, std::string> known = KnownIds(call);
    int running = 0;
    WORDCURSOR lines(ids, "\n");
    for (std::string_view line; lines.Next(line);) {
        if (line.empty())
            continue;
        const STRING id(line);
        STRING position;
        Trace("TARNWICK::PopDelete delete %s\n", id.Text());
        position.Format(" %d", ++running);
        call.Progress.Show(TEXT_DELETING, position);
        // The connection is dropped without QUIT, which takes back every DELE so far.
        if (!EraseOne(talk, id, known))
            return false;
    }
    return talk.Ask("QUIT");
}

bool Get(const MAILBOXCALL& call, STRING& result) {
    return PopGet(call, call.Item.GetNumber("DownloadMailTexts") ? POP_BODY_LINES : 0, result);
}

bool Move(const MAILBOXCALL&, const STRING&, const STRING&, STRING& error) {
    error = "Not supported!";
    return false;
}

}  // namespace

const MAILHANDLER PopHandler = {Get, PopDelete, Move};

bool PopGet(const MAILBOXCALL& call, int lines, STRING& result) {
    TCPIPIO device("", "", "");
    return PopRead(device, call, lines, result);
}

bool PopRead(BASEIO& device, const MAILBOXCALL& call, int lines, STRING& result) {
    result = "";
    call.Progress.Show(TEXT_CONNECTING, call.Server);
    TALK talk(device, call);
    const bool fast = FASTCHECK::IsDue(call);
    const bool ok = talk.LogOn() && (fast ? ShowAllFast : ShowAll)(talk, call, lines, result);
    if (!ok)
        result = talk.Error();
    device.DropCall();
    return ok;
}

bool PopDelete(const MAILBOXCALL& call, const STRING& ids, STRING& error) {
    TCPIPIO device("", "", "");
    return PopErase(device, call, ids, error);
}

bool PopErase(BASEIO& device, const MAILBOXCALL& call, const STRING& ids, STRING& error) {
    Trace("TARNWICK::PopDelete  %s\n", ids.Text());
    call.Progress.Show(TEXT_CONNECTING, call.Server);
    TALK talk(device, call);
    const bool ok = talk.LogOn() && EraseAll(talk, call, ids);
    if (!ok)
        error = talk.Error().Mid(static_cast<int>(strlen(ERROR_PREFIX)));
    device.DropCall();
    return ok;
}
