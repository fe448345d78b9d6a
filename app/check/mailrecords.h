#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "corelib/base/headerblock.h"
#include "corelib/base/recordarray.h"
#include "corelib/base/stopquestion.h"

/// Slots of a mail hash at the start, and how many more whenever they are full.
inline constexpr int MAILHASH_SLOTS = 64;

/// Makes a record of each block of a listing and puts them into hash, which is emptied first; their number. The keys,
/// all of which are always present, are To, From, FromEmail, Subject, MessageId, X-Message-Id, Content-Type, X-Ignore,
/// Header, Seen, Body, X-Datetime, X-SpamPoints, X-SpamReason and X-Size. Time and memory are linear in the listing.
/// Ends early, with some of the records, if the program is to end.
int BuildMailHash(const STRING& listing, RECORDARRAY& hash, const STOPQUESTION& stopAsked = {});

/// The records of a check. Those of mails that were there before and that nobody will look at may be brief: nothing
/// stands in them, and what counts such a mail, which has no points and no X-Ignore, is a piece of the listing.
class MAILRECORDS : public RECORDARRAY {
 public:
    MAILRECORDS() : RECORDARRAY(MAILHASH_SLOTS, MAILHASH_SLOTS) {}
    using ISBRIEF = std::function<bool(int index, std::string_view block)>;
    /// As BuildMailHash does; the listing must outlive what is asked of brief records. isBrief: which may be brief
    /// ones.
    int Read(const STRING& listing, const STOPQUESTION& stopAsked, const ISBRIEF& isBrief = {});
    /// Makes those of these records whole that are brief ones. The indexes stand in order.
    void Complete(const STRING& listing, const std::vector<int>& indexes);
    void DeleteAll();

    bool IsBrief(int index) const { return Brief(index) != nullptr; }
    /// MessageId, X-Message-Id and Seen of a record of either kind.
    std::string_view MessageId(int index) const;
    std::string_view DisposalId(int index) const;
    bool IsSeen(int index) const;

 private:
    struct BRIEF {
        std::string_view MessageId, DisposalId;
        bool Seen = false;
    };
    static bool ReadBrief(std::string_view block, BRIEF& mail);
    const BRIEF* Brief(int index) const;

    std::vector<BRIEF> Briefs;  // by index, as far as there are some; without an id for a whole record
};

/// What a mail is, over checks and runs, whatever its id on the server: id, subject and text together, as a number that
/// is the same in every build.
uint64_t IdentityOf(const STRINGARRAY& record);
