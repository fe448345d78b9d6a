#include "app/mailbox/pop3.h"

#include <cstdio>
#include <cstring>

#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"

POPTIMES PopTimes;

namespace {

bool IsGood(const char* reply) {
    return LISTING::BeginsWith(reply, "+OK");
}

// Sends a command and reads its one line of reply; a time-out leaves it empty. True if the server agrees.
template <int SIZE>
bool Ask(BASEIO& device, const STRING& command, char (&reply)[SIZE]) {
    TCP::WriteCommand(device, command.Text(), reply, SIZE, PopTimes.ReplyMs);
    return IsGood(reply);
}

STRING Join(const char* word, const STRING& argument) {
    STRING command = word;
    command += argument;
    return command;
}

// A decimal number behind any white space, at most the largest int; null if there is none.
const char* ReadNumber(const char* at, int& number) {
    while (*at == ' ' || (*at >= '\t' && *at <= '\r'))
        ++at;
    const char* digits = at + (*at == '-' || *at == '+');
    if (!ASCII::IsDigit(*digits))
        return nullptr;
    number = atoi(STRING(at));
    while (ASCII::IsDigit(*digits))
        ++digits;
    return digits;
}

// Reads "+OK number size", the reply to LIST with an argument. False, with size 0, if it does not fit.
bool ReadSize(const char* reply, int& size) {
    size = 0;
    int number;
    const char* at = strncmp(reply, "+OK", 3) == 0 ? ReadNumber(reply + 3, number) : nullptr;
    return at && ReadNumber(at, size);
}

// One mail as a block of the listing; false if the server refuses to show it.
bool ReadMail(BASEIO& device, int number, int lines, LISTING::WRITER& listing) {
    char line[POP_LINE];
    STRING text;
    text.Format("LIST %d", number);
    if (!Ask(device, text, line))
        return false;
    int size;
    ReadSize(line, size);
    text.Format("TOP %d %d", number, lines);
    if (!Ask(device, text, line))
        return false;

    text.Format("%s: %d\n%s: %d|%d\n", LISTING::SIZE_HEADER, size, LISTING::ID_HEADER, number, size);
    listing.Append(text.View());
    bool more = true;
    bool continued = false;  // what comes next is the rest of a line that was longer than the buffer
    while (more) {
        more = TCP::ReadLine(device, line, sizeof line, PopTimes.ReplyMs) && (continued || strcmp(line, ".") != 0) &&
               listing.Length() < PopTimes.ListingBytes;
        continued = strlen(line) == sizeof line - 1;
        // A line that did not come makes an empty one, which ends the block.
        listing.Append(line);
        listing.Append("\n");
    }
    listing.Append(std::string_view(&LISTING::BLOCK_END, 1));
    return true;
}

bool DeleteOne(BASEIO& device, const STRING& id) {
    STRING id1 = id.Word(0, "|", WORD_NEVERNULL), id2 = id.Word(1, "|", WORD_NEVERNULL);
    ASSERTION(id1.Length() > 0 && id2.Length() > 0, "id1.Length()>0 && id2.Length()>0");
    char reply[POP_LINE];
    if (!Ask(device, Join("LIST ", id1), reply))
        return false;
    // Only a mail that is still the same one goes; any other is left alone.
    int size;
    if (!ReadSize(reply, size) || size != atoi(id2))
        return true;
    return Ask(device, Join("DELE ", id1), reply);
}

bool Get(const MAILBOXCALL& call, STRING& result) {
    int lines = call.Item.GetNumber("DownloadMailTexts") ? POP_BODY_LINES : 0;
    return PopGet(call.Progress, call.Server, call.User, call.Password, lines, result);
}

bool Delete(const MAILBOXCALL& call, const STRING& ids, STRING&) {
    return PopDelete(call.Progress, call.Server, call.User, call.Password, ids);
}

bool Move(const MAILBOXCALL&, const STRING&, const STRING&, STRING& error) {
    error = "Not supported!";
    return false;
}

}  // namespace

const MAILHANDLER PopHandler = {Get, Delete, Move};

bool PopLogin(BASEIO& device, const STRING& server, const STRING& user, const STRING& password,
              char (&reply)[POP_LINE]) {
    STRING bareUser = user, barePassword = password;
    bareUser.Strip('B', " ");
    barePassword.Strip('B', " ");
    if (!device.MakeCall((server || ":110").Text())) {
        STRING error = device.GetInfo("LastErrorString");
        Trace("TCP::PopGet error: %s\n", error.Text());
        snprintf(reply, sizeof reply, "-ERR %s", error.Text());
        return false;
    }
    TCP::ReadLine(device, reply, sizeof reply, PopTimes.GreetingMs);
    return IsGood(reply) && Ask(device, Join("USER ", bareUser), reply) &&
           Ask(device, Join("PASS ", barePassword), reply);
}

bool PopGet(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password, int lines,
            STRING& result) {
    TCPIPIO device("", "", "");
    return PopRead(device, progress, server, user, password, lines, result);
}

bool PopRead(BASEIO& device, const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
             int lines, STRING& result) {
    result = "";
    progress.Show(TEXT_CONNECTING, server);
    char reply[POP_LINE];
    if (!PopLogin(device, server, user, password, reply) || !Ask(device, "STAT", reply)) {
        result = LISTING::ErrorText(reply);
        return false;
    }
    STRING stat = reply;
    STRING count = stat.Word(1, " ", WORD_NEVERNULL), bytes = stat.Word(2, " ", WORD_NEVERNULL);
    LISTING::WRITER listing;
    listing.Append(LISTING::SummaryLine(count, count, false, bytes).View());

    // Numbers grow with arrival: the newest mail comes first.
    const int total = atoi(count);
    for (int number = total; number >= 1 && listing.Length() < PopTimes.ListingBytes; --number) {
        STRING position;
        position.Format(" %d/%d", total - number + 1, total);
        progress.Show(TEXT_READING, position);
        if (!ReadMail(device, number, lines, listing))
            break;
    }
    char farewell[256];
    bool ok = Ask(device, "QUIT", farewell);
    device.DropCall();
    result = listing.Take();
    return ok;
}

bool PopDelete(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
               const STRING& ids) {
    TCPIPIO device("", "", "");
    Trace("TARNWICK::PopDelete  %s\n", ids.Text());
    progress.Show(TEXT_CONNECTING, server);
    char reply[POP_LINE];
    if (!PopLogin(device, server, user, password, reply) || !Ask(device, "STAT", reply))
        return false;

    int running = 0;
    WORDCURSOR lines(ids, "\n");
    for (std::string_view line; lines.Next(line);) {
        if (line.empty())
            continue;
        STRING id(line), position;
        Trace("TARNWICK::PopDelete delete %s\n", id.Text());
        position.Format(" %d", ++running);
        progress.Show(TEXT_DELETING, position);
        // The connection is dropped without QUIT, which takes back every DELE so far.
        if (!DeleteOne(device, id))
            return false;
    }
    return Ask(device, "QUIT", reply);
}
