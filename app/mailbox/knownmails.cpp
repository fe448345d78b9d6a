#include "app/mailbox/knownmails.h"

#include <algorithm>
#include <utility>

#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

namespace {

constexpr const char* LAST_LISTING = "@FileStore";
constexpr const char* KNOWN = "@KnownMails";
constexpr const char* LISTED = "@ListedMails";
constexpr const char* DOUBTS = "@FastDoubts";
constexpr const char* PLAIN_CHECKS = "@PlainChecks";

constexpr std::string_view FORGOTTEN = "-";  // in the place of a mail's place

constexpr int MOST_DOUBTS = 10;
constexpr size_t ID_BYTES = 128;  // servers that know the standard need 70

int NumberAt(const STRINGARRAY& item, const char* key) {
    return item.Exists(key) ? item.GetNumber(key) : 0;
}

STRING TextAt(const STRINGARRAY& item, const char* key) {
    return item.Exists(key) ? item.Get(key) : STRING("");
}

// One word of plain ASCII, as the notes can hold it.
bool IsUsable(std::string_view id) {
    return id.size() <= ID_BYTES && std::ranges::all_of(id, [](char c) { return c > ' ' && c < '\x7f'; });
}

// What is after so many lines.
std::string_view AfterLines(std::string_view text, ptrdiff_t count) {
    for (; count > 0; --count)
        ASCII::Take(text, '\n');
    return text;
}

uint64_t SizeOf(std::string_view block) {
    uint64_t size = 0;
    std::string_view line = ASCII::Take(block, '\n');
    const bool told = ASCII::Take(line, ':') == LISTING::SIZE_HEADER && line.starts_with(' ') &&
                      ASCII::ReadNumber(line.substr(1), size);
    return told ? size : 0;
}

}  // namespace

bool FASTCHECK::IsDue(const MAILBOXCALL& call) {
    if (call.SummaryOnly || NumberAt(call.Item, "FastCheck") == 0)
        return false;
    const int plain = NumberAt(call.Item, PLAIN_CHECKS);
    if (plain > 0)
        call.Item.SetNumber(PLAIN_CHECKS, plain - 1);
    return plain == 0;
}

void FASTCHECK::Doubt(STRINGARRAY& item, const STRING& why) {
    const int doubts = std::min(NumberAt(item, DOUBTS) + 1, MOST_DOUBTS), plain = (1 << doubts) - 1;
    Trace("FASTCHECK::Doubt %s, plain checks to come: %d\n", why.Text(), plain);
    item.SetNumber(DOUBTS, doubts);
    item.SetNumber(PLAIN_CHECKS, plain);
}

KNOWNMAILS::KNOWNMAILS(const STRINGARRAY& item, std::string scope)
    : Item(item), Scope(std::move(scope)), Notes(TextAt(item, KNOWN)) {
    std::string_view notes = Notes.View();
    if (notes.empty() || ASCII::Take(notes, '\n') != Scope || !item.Exists(LAST_LISTING))
        return;
    ListingState = ASCII::Take(notes, '\n');
    item.Look(LAST_LISTING, [&](const STRING& listing) {
        LISTING::BLOCKCURSOR cursor(listing);
        for (std::string_view block; !notes.empty() && cursor.Next(block);) {
            LISTING::TakeVerdict(block);
            std::string_view id = ASCII::Take(notes, '\n');
            const bool isForgotten = ASCII::Take(id, ' ') == FORGOTTEN;
            if (!id.empty() && !isForgotten)
                Places.emplace(id, Count());
            const auto from = static_cast<size_t>(block.data() - listing.View().data());
            Mails.push_back({from, block.size(), SizeOf(block), id});
        }
    });
}

int KNOWNMAILS::Find(std::string_view id, uint64_t size) const {
    const auto found = Places.find(id);
    return found != Places.end() && Mails[static_cast<size_t>(found->second)].Size == size ? found->second : -1;
}

void KNOWNMAILS::ForEach(const SHOW& show) const {
    if (Mails.empty())
        return;
    Item.Look(LAST_LISTING, [&](const STRING& listing) {
        for (const MAIL& mail : Mails)
            show(listing.View().substr(mail.From, mail.Length), mail.Id, mail.Size);
    });
}

NEXTLISTING::NEWBLOCK NEXTLISTING::EndBlock() {
    const NEWBLOCK block{Ended, New.Length() - Ended};
    Ended = New.Length();
    return block;
}

void NEXTLISTING::AddKnown(int place, std::string lines, char seen) {
    InOrder = false;
    Bytes += Known.Length(place);
    Parts.push_back({.Place = place, .Lines = std::move(lines), .Seen = seen});
    Note(place, Known.Mails[static_cast<size_t>(place)].Id);
}

void NEXTLISTING::AddFetched(const NEWBLOCK& block, std::string_view id) {
    InOrder = InOrder && block.From == Bytes;
    Bytes += block.Length;
    Parts.push_back({.Block = block});
    Note(-1, IsUsable(id) ? id : std::string_view());
}

void NEXTLISTING::Note(int place, std::string_view id) {
    Notes.append(std::to_string(place)).append(" ").append(id).append("\n");
}

STRING NEXTLISTING::Take(STRINGARRAY& item, const STRING& head) {
    item.Set(LISTED, STRING(std::string_view(Known.Scope + "\n" + State + "\n" + Notes)));
    if (InOrder && Bytes == New.Length())
        return New.Take(head.View());
    const STRING fetched = New.Take();
    STRING result;
    const auto assemble = [&](std::string_view last) {
        const auto kept = [&](const PART& part) {
            if (part.Place < 0)
                return fetched.View().substr(static_cast<size_t>(part.Block.From),
                                             static_cast<size_t>(part.Block.Length));
            const KNOWNMAILS::MAIL& mail = Known.Mails[static_cast<size_t>(part.Place)];
            return AfterLines(last.substr(mail.From, mail.Length), std::ranges::count(part.Lines, '\n'));
        };
        int64_t total = head.Length();
        for (const PART& part : Parts)
            total += static_cast<int64_t>(part.Lines.size() + kept(part).size()) + (part.Place >= 0);
        if (!ASSERTION(total <= STRING::MAX_LENGTH, "total<=STRING::MAX_LENGTH"))
            return;
        result.Make(static_cast<int>(total), nullptr);
        char* at = result.Data();
        const auto put = [&at](std::string_view piece) { at += piece.copy(at, piece.size()); };
        put(head.View());
        for (const PART& part : Parts) {
            put(part.Lines);
            const std::string_view text = kept(part);
            // The line that tells whether it was seen is the header's last.
            const size_t end = part.Seen ? text.find("\n\n") : 0;
            put(text);
            if (end > 0 && end != text.npos)
                at[static_cast<ptrdiff_t>(end) - 1 - static_cast<ptrdiff_t>(text.size())] = part.Seen;
            if (part.Place >= 0)
                *at++ = LISTING::BLOCK_END;
        }
    };
    if (Known.Count() > 0)
        item.Look(LAST_LISTING, [&](const STRING& last) { assemble(last.View()); });
    else
        assemble({});
    return result;
}

STRING NEXTLISTING::TakeLast(STRINGARRAY& item) {
    State = Known.State();
    for (int place = 0; place < Known.Count(); ++place)
        AddKnown(place);
    STRING head;
    item.Look(LAST_LISTING, [&](const STRING& last) { head = last.Line(0, WORD_NEVERNULL) || "\n"; });
    return Take(item, head);
}

void NEXTLISTING::Forget(STRINGARRAY& item, const std::vector<int>& places) {
    if (places.empty())
        return;
    item.Change(LISTED, [&](const STRING& notes) {
        constexpr int BEFORE = 2;  // lines
        std::string result;
        std::string_view rest = notes.View();
        auto next = places.begin();
        for (int line = 0; !rest.empty(); ++line) {
            std::string_view note = ASCII::Take(rest, '\n');
            const bool isOne = next != places.end() && *next + BEFORE == line;
            next += isOne;
            if (isOne) {
                ASCII::Take(note, ' ');
                result.append(FORGOTTEN).append(" ");
            }
            result.append(note).push_back('\n');
        }
        return STRING(std::string_view(result));
    });
}

std::vector<int> NEXTLISTING::Places(const STRINGARRAY& item) {
    std::vector<int> places;
    const STRING notes = TextAt(item, LISTED);
    std::string_view rest = AfterLines(notes.View(), 2);
    while (!rest.empty()) {
        std::string_view line = ASCII::Take(rest, '\n');
        int place = -1;
        places.push_back(ASCII::ReadNumber(ASCII::Take(line, ' '), place) ? place : -1);
    }
    return places;
}
