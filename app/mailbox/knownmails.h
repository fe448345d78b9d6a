#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "app/mailbox/listing.h"
#include "app/mailbox/mailhandler.h"

/// The fast check of an item (its key FastCheck): mails that the last listing holds are not asked for again.
namespace FASTCHECK {

/// True if this check is to be a fast one. After a doubt some are not, which this counts down.
bool IsDue(const MAILBOXCALL& call);
/// A fast conversation went wrong in a way that may be due to its being fast: the next check holds the plain dialogue.
/// Each further doubt of a run doubles the number of such checks: a line that is bad once a day costs one.
void Doubt(STRINGARRAY& item, const STRING& why);

}  // namespace FASTCHECK

/// The mails of an item's last listing (@FileStore), by the ids under which its server knows them (@KnownMails).
/// The work thread alone replaces the two; they stay as they are while this lives.
class KNOWNMAILS {
 public:
    /// scope: what must be the same for an id to mean the same mail and for a block to be the same text.
    KNOWNMAILS(const STRINGARRAY& item, std::string scope);
    KNOWNMAILS(const KNOWNMAILS&) = delete;
    KNOWNMAILS& operator=(const KNOWNMAILS&) = delete;

    int Count() const { return static_cast<int>(Mails.size()); }
    /// What NEXTLISTING::SetState has said of that listing.
    std::string_view State() const { return ListingState; }
    /// The place of a mail in the listing; -1 if there is none of that id and that size.
    int Find(std::string_view id, uint64_t size) const;
    /// Shows each block of the listing, without the filter's lines, its mail's id, which may be empty, and size. `show`
    /// must not touch the item.
    using SHOW = std::function<void(std::string_view block, std::string_view id, uint64_t size)>;
    void ForEach(const SHOW& show) const;
    /// The bytes that its block took.
    int64_t Length(int place) const { return static_cast<int64_t>(Mails[static_cast<size_t>(place)].Length); }

 private:
    friend class NEXTLISTING;
    struct MAIL {
        size_t From, Length;  // of its block in the listing, without the filter's lines
        uint64_t Size;        // as the server told
        std::string_view Id;  // a piece of Notes
    };

    const STRINGARRAY& Item;
    const std::string Scope;
    const STRING Notes;
    std::string_view ListingState;
    std::vector<MAIL> Mails;  // in the order of the listing
    std::unordered_map<std::string_view, int> Places;
};

/// A listing that is made of blocks of the last one and of new ones.
class NEXTLISTING {
 public:
    explicit NEXTLISTING(const KNOWNMAILS& known) : Known(known) {}

    /// A new block among the bytes that were appended to Fetched().
    struct NEWBLOCK {
        int64_t From = 0, Length = 0;
    };
    LISTING::WRITER& Fetched() { return New; }
    /// What was appended since the last call.
    NEWBLOCK EndBlock();

    /// The next mail is one of the last listing, with `lines` in the place of as many lines at the beginning of its
    /// block, and with that value of its header Seen; 0 leaves it.
    void AddKnown(int place, std::string lines = {}, char seen = 0);
    /// The next mail is a new one. Without an id it will not be known.
    void AddFetched(const NEWBLOCK& block, std::string_view id);

    int Count() const { return static_cast<int>(Parts.size()); }
    /// Bytes of the mails so far.
    int64_t Length() const { return Bytes; }

    /// One line that may tell at the next check that nothing has changed.
    void SetState(std::string state) { State = std::move(state); }
    /// The text, after `head`, and in the item's @ListedMails what the next check is to know of it. The object is of no
    /// more use then.
    STRING Take(STRINGARRAY& item, const STRING& head);
    /// The last listing once more.
    STRING TakeLast(STRINGARRAY& item);

    /// Where each block of the listing just made stands in the last one, by @ListedMails; -1: nowhere.
    static std::vector<int> Places(const STRINGARRAY& item);
    /// These mails of the listing just made, their places in ascending order, will not be found: the next check asks
    /// for them if they are still there. Their ids are kept.
    static void Forget(STRINGARRAY& item, const std::vector<int>& places);

 private:
    struct PART {
        int Place = -1;  // in the last listing; or else Block
        NEWBLOCK Block = {};
        std::string Lines = {};
        char Seen = 0;
    };
    void Note(int place, std::string_view id);

    const KNOWNMAILS& Known;
    LISTING::WRITER New;
    std::vector<PART> Parts;
    std::string State, Notes;  // a line for each block: its place in the last listing, and its id
    int64_t Bytes = 0, Ended = 0;
    bool InOrder = true;  // the listing is what was fetched, as it is
};
