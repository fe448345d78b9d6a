#include "app/console/scoremails.h"

#include <algorithm>

#include "app/common/displaytext.h"
#include "app/console/consoletexts.h"
#include "app/console/mailtable.h"
#include "app/console/terminal.h"
#include "app/filter/mxmemory.h"
#include "app/filter/spamfilter.h"
#include "app/mailbox/listing.h"
#include "app/mailbox/pop3.h"
#include "corelib/base/headerblock.h"

namespace {

constexpr int READ_BYTES = 65536;
constexpr size_t MAIL_BYTES = 4 << 20;  // what is kept of a mail whose header has no end

constexpr std::string_view SEPARATOR = "From ";

bool IsQuotedSeparator(std::string_view line) {
    const size_t signs = line.find_first_not_of('>');
    return signs != line.npos && signs > 0 && line.substr(signs).starts_with(SEPARATOR);
}

std::string ScoreLine(const SPAMSCORE& score, const std::string& mail) {
    const STRING id = ReadHeaderField(HeaderBlock(mail), LISTING::MESSAGEID_HEADER);
    return std::to_string(score.Result) + "\t" + std::to_string(score.TotalPoints) + "\t" +
           std::to_string(score.Significant) + "\t" + std::to_string(score.Exceptions) + "\t" +
           DISPLAYTEXT::Safe(id.View()) + "\n";
}

}  // namespace

bool ReadPieces(const STRING& file, const std::function<bool()>& stopped,
                const std::function<void(std::string_view)>& take) {
    const bool standardInput = file.View() == "-";
    OSYS::FILEHANDLE handle = standardInput ? OSYS::FILEHANDLE() : OSYS::OpenFile(file.Text(), "r");
    if (!standardInput && !handle.IsOpen())
        return false;
    std::string buffer(READ_BYTES, '\0');
    while (!stopped()) {
        const int got =
            standardInput ? TERMINAL::ReadBytes(buffer.data(), READ_BYTES) : handle.Read(buffer.data(), READ_BYTES);
        // A stop breaks off the wait for bytes.
        if (got <= 0)
            return got == 0 || stopped();
        take(std::string_view(buffer).substr(0, static_cast<size_t>(got)));
    }
    return true;
}

void MBOXREADER::Put(std::string_view bytes) {
    while (!bytes.empty()) {
        const size_t room = static_cast<size_t>(POP_LINE) - 1 - Line.size();
        const size_t end = bytes.find('\n');
        const size_t taken = std::min({end == bytes.npos ? bytes.size() : end + 1, room});
        Line += bytes.substr(0, taken);
        bytes.remove_prefix(taken);
        if (Line.back() == '\n' || Line.size() + 1 == static_cast<size_t>(POP_LINE))
            PutLine();
    }
}

void MBOXREADER::PutLine() {
    const bool whole = !Line.empty() && Line.back() == '\n';
    const bool begins = BeginsLine;
    BeginsLine = whole;
    std::erase(Line, '\r');
    std::string_view text = Line;
    if (whole)
        text.remove_suffix(1);
    if (begins && BehindEmptyLine && !OneMail && text.starts_with(SEPARATOR)) {
        EndMail();
        InMail = true;
    } else if (InMail) {
        if (begins && !OneMail && IsQuotedSeparator(text))
            text.remove_prefix(1);
        if (begins && !InHeader)
            ++BodyLines;
        if (BodyLines <= POP_BODY_LINES && Mail.size() < MAIL_BYTES) {
            Mail += text.substr(0, text.find('\0'));
            Mail += '\n';
        }
        if (begins && whole && text.empty())
            InHeader = false;
    }
    BehindEmptyLine = begins && whole && text.empty();
    Line.clear();
}

void MBOXREADER::End() {
    if (!Line.empty())
        PutLine();
    EndMail();
}

void MBOXREADER::EndMail() {
    // The empty line in front of the next mail belongs to the file.
    if (BehindEmptyLine && !InHeader && BodyLines <= POP_BODY_LINES && Mail.ends_with("\n\n"))
        Mail.pop_back();
    if (InMail)
        Take(Mail);
    Mail.clear();
    InMail = OneMail;
    InHeader = true;
    BodyLines = 0;
}

bool ScoreMails(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const TEXTS& texts, const STRING& file, bool network,
                bool reasons, const std::function<bool()>& stopped, std::string& message) {
    // Settings of its own: those of the application are saved at the end.
    STRINGARRAY state = application.pState;
    if (!network)
        state.Set("SpamDoDomain", "0");
    FRONTEND nobody;
    application.MailServers().SetStopQuestion(stopped);
    // All mails of the file are one check.
    MXMEMORY servers(application.MailServers());
    SPAMFILTER filter(state, texts, nobody, application.MailServers());
    filter.SetStopQuestion(stopped);
    filter.SetLearning(&application.Lessons());
    filter.LoadSpamDefinitions();
    int mails = 0;
    MBOXREADER reader([&](const std::string& mail) {
        ++mails;
        STRING report;
        const SPAMSCORE score = filter.SpamFilterMessage(mail.c_str(), reasons ? &report : nullptr, 0, "", &servers);
        if (stopped())
            return;
        frontEnd.PrintRaw(ScoreLine(score, mail) + (reasons ? ReportLines(report) : ""));
    });
    const bool read = ReadPieces(file, stopped, [&](std::string_view bytes) { reader.Put(bytes); });
    // A mail that is cut short by a stop or a fault of the file would get wrong points.
    if (read && !stopped())
        reader.End();
    if (stopped() || (read && mails > 0))
        return true;
    message = ConsoleText(texts, read ? CTEXT_NO_MAIL_IN_FILE : CTEXT_FILE_UNREADABLE, DISPLAYTEXT::Path(file));
    return false;
}
