#include "app/mailbox/imapblock.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "app/mailbox/imapreply.h"
#include "corelib/base/ascii.h"

namespace {

constexpr const char* NO_SIZE = "IMAP99 BAD SIZE result error";

// Walks over the lines of a text. What stands after the last line break is a line, too, and be it empty.
template <class WORK>
void ForEachLine(std::optional<std::string>& text, WORK work) {
    if (!text)
        return;
    std::erase(*text, '\r');
    std::string_view rest = *text;
    for (size_t end = 0; end != rest.npos; rest.remove_prefix(end == rest.npos ? 0 : end + 1)) {
        end = rest.find('\n');
        work(rest.substr(0, end));
    }
}

// What a mail says can hold the byte that ends a block, and the one that ends a text.
void AppendClean(LISTING::WRITER& listing, std::string_view text) {
    constexpr std::string_view ENDS("\0\1", 2);
    for (size_t end; (end = text.find_first_of(ENDS)) != text.npos; text.remove_prefix(end + 1)) {
        listing.Append(text.substr(0, end));
        listing.Append(" ");
    }
    listing.Append(text);
}

void AppendLine(LISTING::WRITER& listing, std::string_view text) {
    AppendClean(listing, text);
    listing.Append("\n");
}

void AppendField(LISTING::WRITER& listing, const char* name, std::string_view value) {
    listing.Append(name);
    listing.Append(": ");
    AppendLine(listing, value);
}

void AppendFields(LISTING::WRITER& listing, std::optional<std::string>& text) {
    constexpr const char* NAMES[] = {"From: ", "To: ", "Subject: ", "Date: "};
    std::string_view fields[std::size(NAMES)];
    ForEachLine(text, [&](std::string_view line) {
        for (size_t i = 0; i < std::size(NAMES); ++i)
            if (fields[i].empty() && ASCII::BeginsWith(line, NAMES[i]))
                fields[i] = line;
    });
    for (std::string_view field : fields)
        if (!field.empty())
            AppendLine(listing, field);
}

// A text of five digits' length is left out.
bool IsShort(const std::optional<std::string>& text) {
    return text && text->size() <= 9999;
}

}  // namespace

void IMAPBLOCKS::ShowPosition(int position, int count) const {
    STRING text;
    text.Format(" %d/%d", position, count);
    Call.Progress.Show(TEXT_READING, text);
}

bool IMAPBLOCKS::Ask(uint32_t number, IMAPMAIL& mail) {
    IMAPREPLY::FETCHED fetched;
    // Numbers are those of other mails once one before them has gone, which some servers tell in the middle: nobody's
    // text may stand above another mail's UID, under which it would be deleted.
    bool isOther = false;
    const auto fetch = [&](const std::string& what) {
        fetched = {};
        const std::string command = "FETCH " + std::to_string(number) + " (" + what + ")";
        return Talk.Ask(STRING(std::string_view(command)), [&](std::string_view line) {
            uint32_t gone;
            isOther = isOther || (IMAPREPLY::ReadExpunge(line, gone) && gone <= number);
            IMAPREPLY::TakeFetch(line, number, fetched);
        });
    };
    // Small commands, one mail after the other, so that the row shows how far it is.
    if (!fetch("RFC822.SIZE"))
        return false;
    if (fetched.BadSize)
        return Talk.Fail(NO_SIZE);
    mail.Size = fetched.Size;
    if (!fetch(IMAP::HEADER_ITEM))
        return false;
    mail.Header = fetched.TakeText();
    if (!fetch(std::string(IMAP::FIELDS_ITEM) + " FLAGS"))
        return false;
    mail.Fields = fetched.TakeText();
    mail.FlagsKnown = fetched.FlagsKnown;
    mail.Seen = fetched.Seen;
    // A server that refuses but tells is good enough.
    fetch("UID");
    if (!Talk.IsAnswered())
        return false;
    mail.Uid = fetched.Uid;
    if (mail.Uid == 0 || isOther)
        return Talk.Fail(IMAP::NO_UID);
    if (WantsBody()) {
        fetch(BodyItem());
        mail.Body = fetched.TakeText();
    }
    if (!Talk.IsAnswered())
        return false;
    return !isOther || Talk.Fail(IMAP::NO_UID);
}

void IMAPBLOCKS::Append(IMAPMAIL& mail, LISTING::WRITER& listing) const {
    if (mail.Size) {
        const auto size = std::min<uint64_t>(*mail.Size, std::numeric_limits<int>::max());
        AppendField(listing, LISTING::SIZE_HEADER, std::to_string(size));
    }
    if (IsShort(mail.Header))
        AppendField(listing, LISTING::TRANSPORT_HEADER, STRING(std::string_view(*mail.Header)).Escape("").View());
    AppendFields(listing, mail.Fields);
    AppendField(listing, LISTING::MESSAGEID_HEADER, std::to_string(mail.Uid));
    AppendField(listing, LISTING::SEEN_HEADER, mail.Seen ? "1" : "0");
    listing.Append("\n");
    if (IsShort(mail.Body)) {
        ForEachLine(mail.Body, [&](std::string_view line) {
            if (line == "*" || line == ".")
                listing.Append(" ");
            AppendLine(listing, line);
        });
    } else {
        listing.Append(NoText.View());
        listing.Append("\n");
    }
    listing.Append(std::string_view(&LISTING::BLOCK_END, 1));
}
