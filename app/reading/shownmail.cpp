#include "app/reading/shownmail.h"

#include "app/common/displaytext.h"
#include "app/common/mailtext.h"
#include "app/mailbox/listing.h"
#include "app/reading/headerwords.h"
#include "app/reading/mimetext.h"
#include "corelib/base/ascii.h"
#include "corelib/base/headerblock.h"

namespace {

/// The server's header, or the block's own lines where those are all of it.
STRING WholeHeader(const STRINGARRAY& record) {
    STRING whole = SHOWNMAIL::ServerHeader(record);
    return whole.NotNull() ? whole : record["Header"];
}

/// The fields of the server's header, and the charset of the mail's text, in which careless programs write them.
struct FIELDS {
    explicit FIELDS(const STRINGARRAY& record)
        : Lines(JoinedFields(WholeHeader(record).View())),
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
        STRING display = Value(record, name), address;
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

std::string SHOWNMAIL::Text(const STRINGARRAY& record) {
    std::string_view body = record["Body"].View();
    std::string single;
    if (LISTING::TakeReplyEnd(body)) {
        for (std::string_view rest = body; !rest.empty();) {
            const std::string_view line = ASCII::Take(rest, '\n');
            single.append(line.substr(line.starts_with("..") ? 1 : 0)).push_back('\n');
        }
        body = single;
    }
    const std::string text = ReadableText(JoinedFields(WholeHeader(record).View()), body);
    std::string lines;
    for (std::string_view rest = text; !rest.empty();)
        lines.append(ASCII::TrimRight(DISPLAYTEXT::Safe(ASCII::Take(rest, '\n')), " ")).push_back('\n');
    return lines;
}

STRING SHOWNMAIL::ServerHeader(const STRINGARRAY& record) {
    const STRING whole = ReadHeaderField(record["Header"].View(), LISTING::TRANSPORT_HEADER);
    return whole.Length() > 0 ? whole.Unescape() : STRING();
}
