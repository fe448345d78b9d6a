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

// Records are many, and most of their values are far shorter than a string's usual block.
void Put(STRINGARRAY& record, const char* key, std::string_view value) {
    constexpr int SMALL_BLOCK = 16;
    STRING small(SMALL_BLOCK);
    small.AppendBytes(value);
    record[key] = std::move(small);
}

std::unique_ptr<STRINGARRAY> MakeRecord(std::string_view block) {
    const std::string_view lines = HeaderBlock(block);
    STRING headerLines = UnfoldedHeader(lines);
    const FIELDS fields(headerLines.View());

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
    auto record = std::make_unique<STRINGARRAY>(FIELDS, FIELDS);
    const auto put = [&record](const char* key, const STRING& value) { Put(*record, key, value.View()); };
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
    (*record)["Header"] = std::move(headerLines);
    (*record)["Body"] = STRING(BodyBlock(block.substr(lines.size())));
    return record;
}

}  // namespace

int BuildMailHash(const STRING& listing, RECORDARRAY& hash, const STOPQUESTION& stopAsked) {
    Trace("TARNWICK::BuildMailHash\n");
    hash.DeleteAll();
    LISTING::BLOCKCURSOR blocks(listing);
    std::string_view block;
    while (!(stopAsked && stopAsked()) && blocks.Next(block))
        hash.AddOwned(MakeRecord(block));
    Trace("TARNWICK::BuildMailHash done\n");
    return hash.Count();
}

int MAILRECORDS::Read(const STRING& listing, const STOPQUESTION& stopAsked, const ISBRIEF& isBrief) {
    DeleteAll();
    if (!isBrief)
        return BuildMailHash(listing, *this, stopAsked);
    LISTING::BLOCKCURSOR blocks(listing);
    std::string_view block;
    while (!(stopAsked && stopAsked()) && blocks.Next(block)) {
        BRIEF mail;
        const bool isOne = isBrief(Count(), block) && ReadBrief(block, mail);
        AddOwned(isOne ? std::make_unique<STRINGARRAY>(0, 0) : MakeRecord(block));
        Briefs.push_back(isOne ? mail : BRIEF());
    }
    Trace("MAILRECORDS::Read %d records\n", Count());
    return Count();
}

void MAILRECORDS::Complete(const STRING& listing, const std::vector<int>& indexes) {
    LISTING::BLOCKCURSOR blocks(listing);
    std::string_view block;
    int at = -1;
    for (const int index : indexes) {
        if (!IsBrief(index))
            continue;
        while (at < index && blocks.Next(block))
            ++at;
        (*this)[index] = std::move(*MakeRecord(block));
        Briefs[static_cast<size_t>(index)] = {};
    }
}

void MAILRECORDS::DeleteAll() {
    RECORDARRAY::DeleteAll();
    Briefs.clear();
}

// What a record is known by and counted by, found without a look at more than its header's lines. False if one of them
// needs more than that.
bool MAILRECORDS::ReadBrief(std::string_view block, BRIEF& mail) {
    static constexpr std::string_view NAMES[] = {LISTING::MESSAGEID_HEADER, LISTING::ID_HEADER, LISTING::SEEN_HEADER};
    std::string_view values[std::size(NAMES)];
    while (!block.empty() && !block.starts_with('\n')) {
        const std::string_view line = ASCII::Take(block, '\n');
        if (line.ends_with('\r'))
            return false;
        for (size_t i = 0; i < std::size(NAMES); ++i) {
            const std::string_view name = NAMES[i];
            if (!values[i].empty() || line.size() <= name.size() || line[name.size()] != ':' ||
                !ASCII::BeginsWith(line, name))
                continue;
            values[i] = ASCII::TrimLeft(line.substr(name.size() + 1), " \t");
            if (values[i].empty() || block.starts_with('\t'))
                return false;
        }
    }
    mail.MessageId = values[0];
    mail.DisposalId = values[1].empty() ? values[0] : values[1];
    mail.Seen = values[2].starts_with('y') || atoi(STRING(values[2])) != 0;
    return !mail.MessageId.empty();
}

const MAILRECORDS::BRIEF* MAILRECORDS::Brief(int index) const {
    const auto at = static_cast<size_t>(index);
    return at < Briefs.size() && !Briefs[at].MessageId.empty() ? &Briefs[at] : nullptr;
}

std::string_view MAILRECORDS::MessageId(int index) const {
    const BRIEF* const mail = Brief(index);
    return mail ? mail->MessageId : (*this)[index]["MessageId"].View();
}

std::string_view MAILRECORDS::DisposalId(int index) const {
    const BRIEF* const mail = Brief(index);
    return mail ? mail->DisposalId : (*this)[index]["X-Message-Id"].View();
}

bool MAILRECORDS::IsSeen(int index) const {
    const BRIEF* const mail = Brief(index);
    return mail ? mail->Seen : (*this)[index].GetNumber("Seen") != 0;
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
