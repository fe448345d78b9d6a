#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "corelib/base/headerblock.h"
#include "corelib/base/recordarray.h"
#include "corelib/base/stopquestion.h"

/// Makes a record of each block of a listing and puts them into hash, which is emptied first; their number. The keys,
/// all of which are always present, are To, From, FromEmail, Subject, MessageId, X-Message-Id, Content-Type, X-Ignore,
/// Header, Seen, Body, X-Datetime, X-SpamPoints, X-SpamReason and X-Size. Time and memory are linear in the listing.
/// Ends early, with some of the records, if the program is to end. A record for which isBrief says yes may have no more
/// than MessageId, X-Message-Id, Seen, X-SpamPoints and X-Ignore: the others are most of what it costs.
using ISBRIEF = std::function<bool(int index, std::string_view block)>;
int BuildMailHash(const STRING& listing, RECORDARRAY& hash, const STOPQUESTION& stopAsked = {},
                  const ISBRIEF& isBrief = {});

/// Makes those of these records of the listing whole that are brief ones. The indexes stand in order.
void CompleteRecords(const STRING& listing, RECORDARRAY& hash, const std::vector<int>& indexes);

/// What a mail is, over checks and runs, whatever its id on the server: id, subject and text together, as a number that
/// is the same in every build.
uint64_t IdentityOf(const STRINGARRAY& record);

/// Slots of a mail hash at the start, and how many more whenever they are full.
inline constexpr int MAILHASH_SLOTS = 64;
