#include "app/reading/shownmail.h"

#include "app/common/displaytext.h"
#include "app/common/mailtext.h"
#include "app/mailbox/listing.h"
#include "app/reading/headerwords.h"
#include "app/reading/mimetext.h"
#include "corelib/base/ascii.h"
#include "corelib/base/headerblock.h"

namespace {

/// The fields of the server's header, and the charset of the mail's text, in which careless programs write them.
struct FIELDS {
    explicit FIELDS(const STRINGARRAY& record) : Lines(JoinedFields(SHOWNMAIL::ServerHeader(record))) {
        const STRING type = ReadHeaderField(Lines, "Content-Type");
        const size_t at = ASCII::Find(type.View(), "charset=");
        if (at != std::string_view::npos) {
            const std::string_view name = ASCII::TrimLeft(type.View().substr(at + 8), "\" ");
            Charset = name.substr(0, name.find_first_of("\"; \t"));
        }
    }
    std::string Shown(const STRING& value) const {
        return std::string(ASCII::Trim(DISPLAYTEXT::Safe(HeaderWords(value.View(), Charset)), " "));
    }

    std::string Lines, Charset;
};

}  // namespace

SHOWNMAIL::HEADER SHOWNMAIL::Header(const STRINGARRAY& record) {
    const FIELDS fields(record);
    const STRING subject = ReadHeaderField(fields.Lines, "Subject");
    STRING name = ReadHeaderField(fields.Lines, "From"), address;
    if (!name.NotNull())
        name = record["From"];
    SplitAddress(name, address);
    HEADER header{fields.Shown(name), fields.Shown(subject.NotNull() ? subject : record["Subject"])};
    if (header.Sender.empty())
        header.Sender = fields.Shown(address);
    return header;
}

std::string SHOWNMAIL::Text(const STRINGARRAY& record) {
    const STRING& body = record["Body"];
    const std::string text = ReadableText(JoinedFields(ServerHeader(record)), body.View());
    std::string lines;
    for (std::string_view rest = text; !rest.empty();)
        lines.append(ASCII::TrimRight(DISPLAYTEXT::Safe(ASCII::Take(rest, '\n')), " ")).push_back('\n');
    return lines;
}

std::string SHOWNMAIL::ServerHeader(const STRINGARRAY& record) {
    const STRING& header = record["Header"];
    const STRING whole = ReadHeaderField(header.View(), LISTING::TRANSPORT_HEADER);
    return std::string(whole.Length() > 0 ? whole.Unescape().View() : header.View());
}
