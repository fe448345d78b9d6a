#include "app/mailbox/mapilisting.h"

#include <algorithm>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/headerblock.h"
#include "corelib/base/utf8.h"

namespace {

/// Stands for the user, whose address the store does not tell.
constexpr std::string_view OWNER_TOKEN = "{me}";
constexpr std::string_view NO_BODY = "<empty>";

bool IsForbidden(char c) {
    return c == '\0' || c == LISTING::BLOCK_END;
}

std::string OneLine(std::string text) {
    std::ranges::replace_if(text, [](char c) { return IsForbidden(c) || c == '\r' || c == '\n'; }, ' ');
    return text;
}

/// The header that a mail came with, a line for each field, with single blanks.
std::string JoinedHeader(std::string_view header) {
    std::string joined;
    for (char c : header) {
        if (c == '\r')
            continue;
        if (c == '\t' || IsForbidden(c))
            c = ' ';
        if (c == ' ' && joined.ends_with('\n'))
            joined.pop_back();
        if (c != ' ' || !joined.ends_with(' '))
            joined += c;
    }
    return joined;
}

/// What a stranger says of the recipients. That a mail is to the user nobody but the store says.
std::string OfStranger(STRING value) {
    value.Replace(OWNER_TOKEN.data(), "(me)");
    return OneLine(std::string(value.View()));
}

void AppendBody(LISTING::WRITER& listing, std::string body) {
    std::erase(body, '\r');
    std::ranges::replace_if(body, IsForbidden, ' ');
    for (std::string_view rest = body; !rest.empty();) {
        const bool ends = rest.find('\n') != rest.npos;
        const std::string_view line = ASCII::Take(rest, '\n');
        // What a line says that has a mark alone is lost on no one.
        if (line != "*")
            listing.Append(line);
        if (line == ".")
            listing.Append(" ");
        if (ends)
            listing.Append("\n");
    }
}

}  // namespace

void AppendMapiBlock(LISTING::WRITER& listing, const MAPIMESSAGE& mail, int bytes) {
    std::string to, copy, transport;
    if (mail.IsLocal) {
        to = OneLine(mail.DisplayTo).append("<").append(OWNER_TOKEN).append(">");
        transport = "To: " + to + "\n";
    } else {
        transport = JoinedHeader(mail.Transport);
        const STRING named = ReadHeaderField(transport, "To");
        to = OfStranger(named.NotNull() ? named : STRING(std::string_view(mail.DisplayTo)));
        copy = OfStranger(ReadHeaderField(transport, "CC"));
    }
    const STRING escaped = STRING(std::string_view(transport)).Escape("");
    const auto field = [&](const char* name, std::string_view value) {
        listing.Append(name);
        listing.Append(": ");
        listing.Append(value);
        listing.Append("\n");
    };
    field("To", to);
    field("Cc", copy);
    field("From", OneLine(mail.SenderName) + " <" + OneLine(mail.SenderAddress) + ">");
    field("Subject", OneLine(mail.Subject));
    field(LISTING::MESSAGEID_HEADER, mail.Id);
    field("Date", mail.Date);
    field(LISTING::MIME_HEADER, "no");
    field(LISTING::SIZE_HEADER, std::to_string(mail.Size));
    field(LISTING::TRANSPORT_HEADER, escaped.View());
    field(LISTING::SEEN_HEADER, mail.IsRead ? "yes" : "no");
    listing.Append("\n");
    if (bytes != 0)
        AppendBody(listing, mail.Body.empty() ? std::string(NO_BODY) : mail.Body);
    listing.Append(std::string_view(&LISTING::BLOCK_END, 1));
}
