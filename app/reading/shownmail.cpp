#include "app/reading/shownmail.h"

#include <cstdio>

#include "app/common/displaytext.h"
#include "app/common/mailtext.h"
#include "app/mailbox/listing.h"
#include "app/reading/headerwords.h"
#include "app/reading/mimetext.h"
#include "corelib/base/ascii.h"
#include "corelib/base/headerblock.h"

namespace {

/// More of a body is no text that a person reads, and only takes its time.
constexpr size_t READ_BYTES = 2'000'000;

STRING HeaderOfServer(std::string_view header) {
    // Blocks with an id line of ours hold the mail's own lines, of which a stranger may call one so.
    if (ReadHeaderField(header, LISTING::ID_HEADER).NotNull())
        return STRING();
    const STRING whole = ReadHeaderField(header, LISTING::TRANSPORT_HEADER);
    return whole.Length() > 0 ? whole.Unescape() : STRING();
}

/// The server's header, or the block's own lines where those are all of it.
std::string WholeHeader(std::string_view header) {
    const STRING whole = HeaderOfServer(header);
    return JoinedFields(whole.NotNull() ? whole.View() : header);
}

/// A comma in an encoded word ends no address: as its code it stands for itself alone.
STRING WithCodedMarks(std::string_view value) {
    std::string coded;
    for (;;) {
        const size_t word = value.find("=?"), charsetEnd = word == value.npos ? value.npos : value.find('?', word + 2);
        const size_t end = charsetEnd == value.npos ? value.npos : value.find("?=", charsetEnd + 3);
        if (end == value.npos)
            return STRING(std::string_view(coded.append(value)));
        coded.append(value.substr(0, word));
        const bool isQ = ASCII::Equal(value.substr(charsetEnd, 3), "?Q?");
        for (const char c : value.substr(word, end + 2 - word)) {
            char code[4];
            snprintf(code, sizeof code, "=%02X", static_cast<unsigned char>(c));
            coded += isQ && std::string_view(",:;()<>\"").find(c) != std::string_view::npos ? std::string(code)
                                                                                            : std::string(1, c);
        }
        value.remove_prefix(end + 2);
    }
}

/// The fields of the server's header, and the charset of the mail's text, in which careless programs write them.
struct FIELDS {
    explicit FIELDS(const STRINGARRAY& record)
        : Lines(WholeHeader(record["Header"].View())),
          Charset(HeaderParameter(ReadHeaderField(Lines, "Content-Type").View(), "charset")) {}
    std::string Shown(const STRING& value) const {
        return std::string(ASCII::Trim(DISPLAYTEXT::Safe(HeaderWords(value.View(), Charset)), " "));
    }

    /// Of the header, or what the record has made of it.
    STRING Value(const STRINGARRAY& record, const char* name) const {
        STRING value = ReadHeaderField(Lines, name);
        return value.NotNull() ? value : record[name];
    }
    std::string Person(const STRINGARRAY& record, const char* name) const {
        STRING display = WithCodedMarks(Value(record, name).View()), address;
        SplitAddress(display, address);
        std::string shown = Shown(display);
        return shown.empty() ? Shown(address) : shown;
    }

    std::string Lines, Charset;
};

}  // namespace

SHOWNMAIL::HEADER SHOWNMAIL::Header(const STRINGARRAY& record) {
    const FIELDS fields(record);
    return {fields.Person(record, "From"), fields.Person(record, "To"), fields.Shown(fields.Value(record, "Subject"))};
}

SHOWNMAIL::SOURCE::SOURCE(std::string_view header, std::string_view body) : Body(body) {
    const STRING server = HeaderOfServer(header);
    IsOwnHeader = !server.NotNull();
    Fields = JoinedFields(IsOwnHeader ? header : server.View());
    // A mailbox tells it in its own lines.
    IsRead = !IsOwnHeader && ReadHeaderField(header, LISTING::MIME_HEADER) == "no";
    if (LISTING::TakeReplyEnd(Body) && (Body.starts_with("..") || Body.find("\n..") != Body.npos)) {
        for (std::string_view rest = Body; !rest.empty();) {
            const std::string_view line = ASCII::Take(rest, '\n');
            Single.append(line.substr(line.starts_with("..") ? 1 : 0)).push_back('\n');
        }
        Body = Single;
    }
}

std::string SHOWNMAIL::SOURCE::Text(READBY reader) const {
    return ReadableText(IsRead ? std::string_view() : Fields, Body.substr(0, READ_BYTES), reader);
}

std::string SHOWNMAIL::Text(const STRINGARRAY& record) {
    const std::string text = SOURCE(record["Header"].View(), record["Body"].View()).Text(READBY::Person);
    std::string lines;
    for (std::string_view rest = text; !rest.empty();)
        lines.append(ASCII::TrimRight(DISPLAYTEXT::Safe(ASCII::Take(rest, '\n')), " ")).push_back('\n');
    return lines;
}

bool SHOWNMAIL::IsRead(const STRINGARRAY& record) {
    return SOURCE(record["Header"].View(), {}).IsRead;
}

STRING SHOWNMAIL::ServerHeader(const STRINGARRAY& record) {
    return HeaderOfServer(record["Header"].View());
}
