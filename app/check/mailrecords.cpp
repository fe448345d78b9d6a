#include "app/check/mailrecords.h"

#include <algorithm>
#include <memory>

#include "app/common/formats.h"
#include "app/common/mailtext.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"

namespace {

/// The header lines as the records hold them. Only a tab continues a field: a line that begins with a blank is a line
/// of its own, which no field name matches.
STRING UnfoldedHeader(std::string_view lines) {
    STRING out;
    out.Make(static_cast<int>(lines.size()), nullptr);
    char* to = out.Data();
    for (size_t i = 0; i < lines.size(); ++i) {
        const auto followedBy = [&](char ch) { return i + 1 < lines.size() && lines[i + 1] == ch; };
        if (lines[i] == '\r' && followedBy('\n'))
            ++i;
        const bool continued = lines[i] == '\n' && followedBy('\t');
        *to++ = continued ? ' ' : lines[i];
        i += continued ? 1 : 0;
    }
    out.Truncate(static_cast<int>(to - out.Data()));
    return out;
}

/// The fields that records have of a header, found in one pass: mails are many, and so are their lines.
class FIELDS {
 public:
    explicit FIELDS(std::string_view header) {
        while (!header.empty()) {
            const std::string_view line = ASCII::Take(header, '\n');
            for (size_t i = 0; i < std::size(NAMES); ++i) {
                const std::string_view name = NAMES[i];
                if (Lines[i].empty() && line.size() > name.size() && line[name.size()] == ':' &&
                    ASCII::BeginsWith(line, name))
                    Lines[i] = line;
            }
        }
    }
    /// A field's value, empty if the header lacks it. The name is one of NAMES.
    STRING Get(std::string_view name) const {
        const auto at = static_cast<size_t>(std::ranges::find(NAMES, name) - std::begin(NAMES));
        STRING value = ReadHeaderField(Lines[at], name);
        return value.NotNull() ? value : STRING("");
    }

 private:
    static constexpr std::string_view NAMES[] = {"To",
                                                 "From",
                                                 "Subject",
                                                 "Date",
                                                 "Content-Type",
                                                 LISTING::MESSAGEID_HEADER,
                                                 LISTING::ID_HEADER,
                                                 LISTING::SEEN_HEADER,
                                                 LISTING::SIZE_HEADER,
                                                 LISTING::POINTS_HEADER,
                                                 LISTING::REASON_HEADER};
    std::string_view Lines[std::size(NAMES)];
};

/// The identity of a mail whose header gives none: a checksum of what a person would know it by.
STRING IdFromContent(const STRING& to, const STRING& from, const STRING& subject) {
    STRING all("");
    for (const STRING* part : {&to, &from, &subject})
        all.AppendBytes(part->View());
    STRING id;
    id.Format("%lu", static_cast<unsigned long>(all.Crc()));
    return id;
}

std::unique_ptr<STRINGARRAY> MakeRecord(std::string_view block, bool isBrief) {
    const std::string_view lines = HeaderBlock(block);
    STRING headerLines;
    if (!isBrief || lines.find("\n\t") != lines.npos || lines.find('\r') != lines.npos)
        headerLines = UnfoldedHeader(lines);
    const FIELDS fields(headerLines.NotNull() ? headerLines.View() : lines);

    STRING to = fields.Get("To");
    STRING from = fields.Get("From");
    STRING toEmail;
    STRING fromEmail;
    // Taken apart before it is decoded: an encoded name may hold what looks like an address.
    SplitAddress(to, toEmail);
    SplitAddress(from, fromEmail);
    DecodeEncodedWords(to);
    DecodeEncodedWords(from);
    STRING subject = fields.Get("Subject");
    DecodeEncodedWords(subject);
    subject.Strip('R', " \t");

    // A field that is there but empty, as one that was folded with a blank, identifies nothing either.
    STRING messageId = fields.Get(LISTING::MESSAGEID_HEADER);
    if (messageId.Length() == 0)
        messageId = IdFromContent(to, from, subject);
    STRING disposalId = fields.Get(LISTING::ID_HEADER);
    if (disposalId.Length() == 0)
        disposalId = messageId;
    STRING seen = fields.Get(LISTING::SEEN_HEADER);
    if (seen.View().starts_with('y'))
        seen = "1";

    constexpr int FIELDS = 15;
    constexpr int SMALL_BLOCK = 16;
    auto record = std::make_unique<STRINGARRAY>(FIELDS, FIELDS);
    // Records are many, and most of their values are far shorter than a string's usual block.
    const auto put = [&record](const char* key, const STRING& value) {
        STRING small(SMALL_BLOCK);
        small.AppendBytes(value.View());
        (*record)[key] = std::move(small);
    };
    put("Content-Type", fields.Get("Content-Type"));
    put("From", from);
    put("FromEmail", fromEmail);
    put("MessageId", messageId);
    put("Seen", seen);
    put("Subject", subject);
    put("To", to);
    put("X-Datetime", fields.Get("Date"));
    put("X-Ignore", "0");
    put("X-Message-Id", disposalId);
    put("X-Size", FormatSize(atoi64(fields.Get(LISTING::SIZE_HEADER))));
    put("X-SpamPoints", fields.Get("X-SpamPoints"));
    put("X-SpamReason", fields.Get("X-SpamReason"));
    (*record)["Header"] = isBrief ? STRING("") : std::move(headerLines);
    (*record)["Body"] = isBrief ? STRING("") : STRING(BodyBlock(block.substr(lines.size())));
    return record;
}

}  // namespace

int BuildMailHash(const STRING& listing, RECORDARRAY& hash, const STOPQUESTION& stopAsked, const ISBRIEF& isBrief) {
    Trace("TARNWICK::BuildMailHash\n");
    hash.DeleteAll();
    LISTING::BLOCKCURSOR blocks(listing);
    std::string_view block;
    while (!(stopAsked && stopAsked()) && blocks.Next(block))
        hash.AddOwned(MakeRecord(block, isBrief && isBrief(hash.Count(), block)));
    Trace("TARNWICK::BuildMailHash done\n");
    return hash.Count();
}

void AddTexts(const STRING& listing, RECORDARRAY& hash, const std::vector<int>& indexes) {
    LISTING::BLOCKCURSOR blocks(listing);
    std::string_view block;
    int at = -1;
    for (const int index : indexes) {
        STRINGARRAY& record = hash[index];
        if (record["Header"].Length() > 0)
            continue;
        while (at < index && blocks.Next(block))
            ++at;
        const std::string_view lines = HeaderBlock(block);
        record["Header"] = UnfoldedHeader(lines);
        record["Body"] = STRING(BodyBlock(block.substr(lines.size())));
    }
}

uint64_t IdentityOf(const STRINGARRAY& record) {
    // FNV-1a
    uint64_t hash = 0xcbf29ce484222325;
    const auto add = [&hash](char c) { hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3; };
    for (const char* key : {"MessageId", "Subject", "Body"}) {
        for (const char c : record[key].View())
            add(c);
        add('\n');
    }
    return hash;
}
