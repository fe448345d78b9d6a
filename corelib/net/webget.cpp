#include "corelib/net/webget.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/headerblock.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"
#include "corelib/net/gunzip.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"
#include "corelib/system/osys.h"

// No header of the program shows it: the tests alone write there (tests/support/times.h).
namespace SHRINKABLE {
WEBTIMES WebTimes;
}
constinit const WEBTIMES& WebTimes = SHRINKABLE::WebTimes;

namespace {

constexpr const char* STANDING_HEADERS[] = {
    "Accept: image/gif, image/x-xbitmap, image/jpeg, image/pjpeg, text/*, */*",
    "Pragma: no-cache",
    "Connection: Close",
    "Accept-Encoding: gzip, deflate",
    "User-Agent: Mozilla/4.0 (compatible; MSIE 5.0; Windows NT; DigExt)",
};

constexpr int STATUS_LINE_BYTES = 2048;
constexpr int BUFFER_BYTES = 32768;
constexpr size_t PIECE_BYTES = 128;
constexpr size_t HEADER_REST_BYTES = 4096;
constexpr uint32_t MOST_RESERVED = 4 << 20;  // for a length that the server tells
constexpr int PASSES = 3;                    // the first try, one with the proxy's answer, one with the host's
constexpr int NO_STATUS = 999;
constexpr int MOST_PROXY_LINES = 100;
constexpr int CANCELED = 998;
constexpr std::string_view HTTPS = "https://";
constexpr const char* CANCELED_LINE = "TCPIO 998 Canceled";

// Nothing that came from a page ends a line of the request early.
STRING OneLine(const STRING& text) {
    STRING line = text;
    char* const begin = line.Data();
    char* const end = begin + line.Length();
    line.Truncate(static_cast<int>(std::remove_if(begin, end, [](char c) { return c == '\r' || c == '\n'; }) - begin));
    return line;
}

void Send(BASEIO& device, const STRING& text) {
    TCP::WriteCommand(device, OneLine(text).Text(), nullptr, 0, 0);
}

// Both as one line, of which no log gets the rest: passwords and cookies are there.
void Send(BASEIO& device, const STRING& text, const STRING& secret) {
    TCP::WriteSecret(device, OneLine(text).Text(), OneLine(secret).View());
}

STRING WithoutQuery(const STRING& document) {
    return document.Left(static_cast<int>(std::min(document.View().find('?'), document.View().size())));
}

// Splits a credential and "@" off the front of a host; null if there is none.
STRING TakeCredential(STRING& host) {
    const int at = host.Pos('@');
    if (at == -1)
        return STRING();
    STRING credential = host.Left(at);
    host.DeleteLeft(at + 1);
    return credential;
}

void AddPort(STRING& host, const char* port) {
    if (host.Pos(':') == -1 && host.Pos(' ') == -1)
        host.Append(port);
}

STRING FirstLine(const STRING& result) {
    STRING line = result.Line(0, WORD_NEVERNULL);
    line.ChopLast('\r');
    return line;
}

// A response while it comes in: where its header ends, and how long its body is.
class BODYCOUNT {
 public:
    static constexpr uint32_t UNKNOWN = UINT32_MAX;
    enum EVENT { NOTHING, LENGTH_SEEN, STEP_DONE };

    uint32_t Bytes = 0;
    uint32_t Expected = UNKNOWN;
    bool InHeader = true;

    // Takes bytes up to and with the first that makes an event. The line feed after the header's last return counts as
    // the first byte of the body.
    EVENT Take(std::string_view bytes, size_t& taken) {
        EVENT event = NOTHING;
        for (taken = 0; taken < bytes.size() && event == NOTHING;)
            if (!InHeader)
                event = TakeBody(bytes.substr(taken), taken);
            else
                event = TakeHeader(bytes[taken++]);
        return event;
    }

 private:
    static constexpr size_t LINE_BYTES = 64;

    EVENT TakeHeader(char c) {
        if (c == '\r')
            return EndLine();
        if (c != '\n') {
            // Only the length is looked for.
            if (Line.size() < LINE_BYTES)
                Line += c;
            ++LineLength;
        }
        return NOTHING;
    }
    EVENT TakeBody(std::string_view bytes, size_t& taken) {
        const uint32_t step = Expected == UNKNOWN ? 1024 : Expected / 20;
        const uint32_t toStep = step == 0 ? UNKNOWN : step - Bytes % step;
        const auto count = static_cast<uint32_t>(std::min<size_t>(bytes.size(), toStep));
        Bytes += count;
        taken += count;
        return count == toStep ? STEP_DONE : NOTHING;
    }
    EVENT EndLine() {
        constexpr std::string_view NAME = "content-length: ";
        EVENT event = NOTHING;
        InHeader = LineLength != 0;
        if (ASCII::BeginsWith(Line, NAME)) {
            // Of a length that is none nothing is known: what is cut must not pass for whole.
            int32_t length = 0;
            const bool known =
                ASCII::ReadNumber(ASCII::Trim(std::string_view(Line).substr(NAME.size()), " \t"), length);
            Expected = known ? static_cast<uint32_t>(length) + 1 : UNKNOWN;
            event = known ? LENGTH_SEEN : NOTHING;
        }
        Line.clear();
        LineLength = 0;
        return event;
    }

    std::string Line;
    // Not 0: a return at the very start does not end the header.
    int64_t LineLength = 1;
};

// Makes "\r\n" a "\n", after zero bytes, too.
void RemoveReturns(STRING& text) {
    char* const begin = text.Data();
    char* const end = begin + text.Length();
    char* to = begin;
    for (const char* from = begin; from != end;) {
        const void* found = memchr(from, '\r', static_cast<size_t>(end - from));
        const char* const hit = found ? static_cast<const char*>(found) : end;
        memmove(to, from, static_cast<size_t>(hit - from));
        to += hit - from;
        from = hit;
        if (hit != end && ++from != end && *from == '\n')
            continue;
        if (hit != end)
            *to++ = '\r';
    }
    text.Truncate(static_cast<int>(to - begin));
}

}  // namespace

STRINGARRAY& HostCredentials() {
    static STRINGARRAY credentials;
    return credentials;
}

void WEBGET::SetProxy(bool enabled, const STRING& proxy) {
    ProxyAuthorization = "";
    Proxy = enabled ? proxy : STRING("");
    if (Proxy.Length() == 0)
        return;
    STRING credential = TakeCredential(Proxy);
    if (!credential.NotNull())
        credential = OSYS::Environment("VELMORAPROXYAUTH");
    if (credential.NotNull())
        ProxyAuthorization = STRING("Basic ") || credential.ToBase64();
}

int WEBGET::Get(const char* host, const char* doc, STRING& result) {
    const int status = Fetch(host, doc, result);
    Beautify(result);
    return status;
}

int WEBGET::Post(const char* host, const char* doc, STRING& result, const STRING& body) {
    STRING lines = Secret("Content-Type: application/x-www-form-urlencoded\nContent-Length: $(LENGTH)\n\n");
    STRING length;
    length.Format("%d", body.Length());
    lines.Replace("$(LENGTH)", length.Text());
    lines += body;
    // The empty line ends the header, and the body goes out after it as a line of its own.
    WORDCURSOR cursor(lines, "\n");
    for (std::string_view line; cursor.Next(line);)
        AddLine(Secret(STRING(line)));
    Method = "POST";
    const int status = Fetch(host, doc, result);
    Beautify(result);
    return status;
}

int WEBGET::Fetch(const char* host, const char* doc, STRING& result) {
    // Either may hold a password.
    STRING target = Secret(host ? host : ""), document = Secret(doc ? doc : "");
    const bool secure = ASCII::BeginsWith(target.View(), HTTPS);
    if (secure)
        target.DeleteLeft(static_cast<int>(HTTPS.size()));
    STRING credential = TakeCredential(target);
    // What was for a protected line stays on it.
    const STRING known = secure ? STRING(HTTPS) || target : target;
    Trace("WEBGET::Get(%s '%s', '%s', <output>);\n", Method.Text(), known.Text(), WithoutQuery(document).Text());
    if (credential.NotNull())
        HostCredentials().Set(known.Text(), credential);
    else if (HostCredentials().Exists(known.Text()))
        credential = HostCredentials().Get(known.Text());
    const STRING hostLine = STRING("Host: ") || target;
    if (secure)
        AddPort(target, ":443");
    STRING secureHost = target;
    secureHost.Replace(" ", ":");
    if (Proxy.Length() > 0 && secure) {
        target = Proxy;
        AddPort(target, " 8080");
    } else if (Proxy.Length() > 0) {
        document = STRING("http://") || target || document;
        target = Proxy;
        AddPort(target, " 8080");
    } else {
        AddPort(target, " 80");
    }

    STRING proxyAnswer = "", hostAnswer = "";
    int status = NO_STATUS;
    for (int pass = 0; pass < PASSES; ++pass) {
        result = "";
        Trace("WEBGET::Get at 'again:'\n");
        // A new one each time: what may still come of the last answer stays out of this one.
        TCPIPIO device("", "", "");
        device.SetStopQuestion(StopAsked);
        const bool made = device.MakeCall(target.Text());
        if (IsStopped()) {
            result = CANCELED_LINE;
            status = CANCELED;
            break;
        }
        if (!made) {
            const STRING error = device.GetInfo("LASTERROR");
            result = STRING("TCPIO ") || error || " " || device.GetInfo("LASTERRORSTRING");
            Trace("WEBGET::Get connect error %s\n", result.Text());
            status = atoi(error);
            break;
        }
        bool answered = false;
        if (!secure || Secure(device, secureHost, proxyAnswer, result)) {
            SendRequest(device, document, hostLine, secure ? STRING("") : proxyAnswer, hostAnswer);
            char line[STATUS_LINE_BYTES];
            answered = TCP::WriteCommand(device, "", line, sizeof line, WebTimes.AnswerMs);
            result = answered && *line ? STRING(line) : STRING("WEBGET 999 Read Timeout");
            result.Append("\n");
        }
        // A server that has not said a word in all that time is not waited for a second time.
        if (answered)
            ReadData(device, result);
        else if (IsStopped())
            result = CANCELED_LINE;

        const STRING first = FirstLine(result);
        Trace("WEBGET::Get read done %s\n", first.Text());
        TraceLevel(5, "WEBGET::Get whole result:\n");
        TraceLevel(5, "    %s\n", result.Text());
        const STRING number = first.Word(1, " ");
        status = number.NotNull() ? atoi(number) : NO_STATUS;
        // What was answered once is not answered again: a refused password would be sent for ever.
        if (status == 407 && proxyAnswer.Length() == 0 && ProxyAuthorization.Length() > 0) {
            proxyAnswer = ProxyAuthorization;
            Trace("WEBGET::proxyauth=...\n");
        } else if (status == 401 && hostAnswer.Length() == 0 && credential.Length() > 0) {
            hostAnswer = STRING("basic ") || credential.ToBase64();
            Trace("WEBGET::hostauth=...\n");
        } else {
            break;
        }
    }
    Trace("WEBGET::Get done, rc= %d\n", status);
    NextLines.clear();
    Method = "GET";
    return status;
}

bool WEBGET::Secure(TCPIPIO& device, const STRING& host, const STRING& proxyAnswer, STRING& result) {
    if (Proxy.Length() > 0) {
        Send(device, STRING("CONNECT ") || host || " HTTP/1.0");
        Send(device, STRING("Host: ") || host);
        if (proxyAnswer.Length() > 0)
            Send(device, "Proxy-Authorization: ", proxyAnswer);
        char line[STATUS_LINE_BYTES] = "";
        bool more = TCP::WriteCommand(device, "", line, sizeof line, WebTimes.AnswerMs);
        const STRING first = more && *line ? STRING(line) : STRING("WEBGET 999 Read Timeout");
        // Its header goes as far as an empty line; what it says of itself is not looked at.
        for (int lines = 0; more && *line && lines < MOST_PROXY_LINES; ++lines)
            more = TCP::ReadLine(device, line, sizeof line, WebTimes.AnswerMs);
        if (atoi(first.Word(1, " ", WORD_NEVERNULL)) != 200 || !more) {
            result = first || "\n";
            return false;
        }
    }
    if (device.StartTls({host.Word(0, ": ", WORD_NEVERNULL), ""}))
        return true;
    result = STRING("TCPIO ") || device.GetInfo("LASTERROR") || " " || device.GetInfo("LASTERRORSTRING");
    return false;
}

void WEBGET::SendRequest(BASEIO& device, const STRING& doc, const STRING& hostLine, const STRING& proxyAnswer,
                         const STRING& hostAnswer) const {
    const STRING shown = WithoutQuery(doc);
    Send(device, Method || " " || shown, doc.Mid(shown.Length()) || " HTTP/1.0");
    Send(device, hostLine);
    for (const char* line : STANDING_HEADERS)
        Send(device, line);
    if (proxyAnswer.Length() > 0)
        Send(device, "Proxy-Authorization: ", proxyAnswer);
    if (hostAnswer.Length() > 0)
        Send(device, "Authorization: ", hostAnswer);
    for (const STRING& line : NextLines)
        Send(device, "", line);
}

void WEBGET::Report(KIND kind, int64_t value) {
    if (Callback)
        Callback(Argument, kind, static_cast<int>(value));
}

void WEBGET::ReadData(BASEIO& device, STRING& result) {
    std::string text(result.View());
    BODYCOUNT body;
    // False if the transfer is cancelled.
    const auto take = [&](std::string_view piece) {
        if (Cancelled())
            return false;
        for (std::string_view rest = piece; !rest.empty();) {
            size_t taken = 0;
            const BODYCOUNT::EVENT event = body.Take(rest, taken);
            text += rest.substr(0, taken);
            rest.remove_prefix(taken);
            if (event == BODYCOUNT::STEP_DONE) {
                Report(RECEIVED, body.Bytes);
            } else if (event == BODYCOUNT::LENGTH_SEEN) {
                text.reserve(text.size() + HEADER_REST_BYTES + std::min(body.Expected, MOST_RESERVED));
                Report(EXPECTED, static_cast<int64_t>(body.Expected) - 1);
                if (Cancelled())
                    return false;
            }
        }
        TraceLevel(8, "data= %d/%d  [%.*s ...]\n", static_cast<int>(body.Bytes), static_cast<int>(body.Expected),
                   static_cast<int>(std::min<size_t>(piece.size(), 80)), piece.data());
        return static_cast<int64_t>(text.size()) <= WebTimes.ResponseBytes;
    };
    bool cancelled = false, late = false;
    int64_t start = CLOCK::DayMilliSeconds(), now;
    do {
        char buffer[BUFFER_BYTES];
        // A read waits for all that it asks for: so no more than is there, and nothing once the server has gone.
        const int waiting = device.NumAvail();
        const bool online = waiting > 0 || device.GetInfo("ONLINE") == "1";
        int length = std::clamp(waiting, online ? 1 : 0, BUFFER_BYTES);
        if (length > 0 && !device.Read(buffer, &length, WebTimes.ReadMs, nullptr))
            length = 0;
        now = CLOCK::DayMilliSeconds();
        // The day's milliseconds begin anew at midnight.
        start = std::min(start, now);
        late = now - start >= WebTimes.AnswerMs || device.IsTooSlow();
        if (length == 0 && !body.InHeader && body.Bytes < body.Expected && !late && online && !IsStopped())
            continue;
        // The callback is asked for each piece, and once if nothing has come.
        std::string_view rest(buffer, static_cast<size_t>(length));
        do {
            cancelled = !take(rest.substr(0, PIECE_BYTES));
            rest.remove_prefix(std::min(rest.size(), PIECE_BYTES));
        } while (!rest.empty() && !cancelled);
        if (cancelled)
            break;
        if ((body.Bytes < body.Expected && length == 0 && !online) || body.Bytes >= body.Expected) {
            if (device.NumAvail() == 0)
                break;
            Trace("Loop again after hangup (read pending data)...\n");
        }
    } while (!late);
    Trace("WEBGET::ReadData after loop ...\n");
    if (cancelled) {
        text.insert(0, std::string(CANCELED_LINE) + "\r\n");
        Trace("WEBGET::Get aborted\n");
    }
    if (late)
        text.insert(0, "TCPIO 999 Timeout\r\n");
    const bool isWhole = body.Expected != BODYCOUNT::UNKNOWN && body.Bytes >= body.Expected;
    if (!isWhole && !cancelled && !late && atoi(device.GetInfo("LASTERROR")) == TCPERR_TLS_CUT)
        text.insert(0, "TCPIO 4108 Connection cut off\r\n");
    // A matter for developers, who run the program where its source lies.
    if (body.Expected != BODYCOUNT::UNKNOWN && body.Bytes < body.Expected && OSYS::FileExists("debug.cpp"))
        ASSERTION(false, "FALSE");
    result = STRING(std::string_view(text));
}

void WEBGET::Beautify(STRING& result) {
    STRING encoding = ReadHeaderField(result.View(), "Content-Encoding");
    const STRING otherEncoding = ReadHeaderField(result.View(), "Encoding-Type");
    const STRING type = ReadHeaderField(result.View(), "Content-Type").Word(0, ";", WORD_NEVERNULL);
    const auto isGzip = [](const STRING& name) { return stricmp(name.Text(), "gzip", false) == 0; };
    if (isGzip(encoding) || isGzip(otherEncoding)) {
        Trace("WEBGET::Beautify gzip encoding %d bytes\n", result.Length());
        const int told = atoi(ReadHeaderField(result.View(), "Content-Length"));
        const std::string_view data = BodyBlock(result.View());
        const int have = static_cast<int>(data.size());
        STRING decoded;
        decoded.Format("<incomplete gzip data length %d/%d>", have, told);
        if (told == 0 || told == have)
            decoded = STRING(std::string_view(Gunzip(data, WebTimes.DecodedBytes)));
        else
            Trace("WEBGET::Beautify %s\n", decoded.Text());
        const size_t headerEnd = result.View().find("\r\n\r\n");
        if (headerEnd != std::string_view::npos) {
            result.Truncate(static_cast<int>(headerEnd + 4));
            result += decoded;
        }
    }
    Trace("WEBGET::Beautify %s encoding %d bytes\n", encoding.Text(), result.Length());
    if (!ASCII::BeginsWith(type.View(), "image/"))
        RemoveReturns(result);
}
