#include "app/inbox/mailview.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "app/filter/spamfilter.h"
#include "app/reading/shownmail.h"
#include "corelib/base/ascii.h"

namespace {

constexpr int SHORTEST_BODY = 3;

/// Lines of the program's own, which no person wants to see.
constexpr std::string_view OWN_LINES[] = {"X-SpamReason", "X-Transport", "X-SpamPoints",
                                          "X-Message-Id", "Seen",        "X-Size"};

STRING WithReturns(STRING text) {
    text.Replace("\r\n", "\n", 1);
    text.Replace("\n", "\r\n", 1);
    return text;
}

/// As it may stand in a mailto address (RFC 6068 section 2). It becomes a part of a command line: no quotation mark and
/// no blank of a stranger's may stand in it.
std::string InAddress(std::string_view text) {
    std::string coded;
    for (const char c : text) {
        char code[4];
        snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(c));
        const bool plain = ASCII::IsLetterOrDigit(c) || c == '-' || c == '.' || c == '_' || c == '@' || c == '+';
        coded += plain ? std::string(1, c) : std::string(code);
    }
    return coded;
}

STRING ShownHeader(const STRINGARRAY& mail) {
    if (const STRING whole = SHOWNMAIL::ServerHeader(mail); whole.NotNull())
        return WithReturns(whole);
    STRING shown("");
    for (std::string_view rest = mail["Header"].View(); !rest.empty();) {
        const std::string_view line = ASCII::Take(rest, '\n');
        if (std::ranges::any_of(OWN_LINES, [&](std::string_view own) { return line.starts_with(own); }))
            continue;
        shown.AppendBytes(line);
        shown += "\r\n";
    }
    return shown;
}

}  // namespace

MAILVIEW ViewOf(const STRINGARRAY& mail, const TEXTS& texts) {
    const SHOWNMAIL::HEADER header = SHOWNMAIL::Header(mail);
    const STRING& body = mail["Body"];
    const bool fetched = body.Length() >= SHORTEST_BODY;
    const STRING missing = texts.Get(TEXT_NOT_FETCHED);
    return {STRING(std::string_view(header.Sender)), STRING(std::string_view(header.Subject)), ShownHeader(mail),
            WithReturns(fetched ? body : missing),
            WithReturns(fetched ? STRING(std::string_view(SHOWNMAIL::Text(mail))) : missing)};
}

STRING AnswerAddress(const STRINGARRAY& mail) {
    const std::string subject = SHOWNMAIL::Header(mail).Subject;
    const bool isAnswer = ASCII::BeginsWith(subject, "RE:");
    const std::string address =
        "mailto:" + InAddress(mail["FromEmail"].View()) + "?subject=" + (isAnswer ? "" : "RE:%20") + InAddress(subject);
    return STRING(std::string_view(address));
}

STRING ReasonText(const STRINGARRAY& mail) {
    STRING report = mail["X-SpamReason"];
    const char lineEnd[] = {REASON_LINE_END, '\0'};
    report.Replace(lineEnd, "\n", 1);
    return report;
}
