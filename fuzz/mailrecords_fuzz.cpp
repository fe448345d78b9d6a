// A listing holds what mail servers sent: any bytes must become whole records, and a listing that has not changed since
// the last check must hold nothing new.

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "app/check/newmail.h"
#include "fuzz/filtertexts.h"
#include "fuzz/fuzz.h"

namespace {

class SAMETEXT : public TEXTS {
 public:
    STRING Get(int /*id*/) const override { return "a|b|c|d"; }
};

class COUNTER : public NOTIFIER {
 public:
    bool NewMail(STRINGARRAY& /*item*/, const CHECKREPORT& report) override {
        New = static_cast<int>(report.NewMails.size());
        return true;
    }
    int New = 0;
};

}  // namespace

FUZZ_TARGET(bytes) {
    const std::string blocks(bytes);
    RECORDARRAY records(MAILHASH_SLOTS, MAILHASH_SLOTS);
    const int count = BuildMailHash(STRING(std::string_view("\n" + blocks)), records);
    if (count == 0)
        return;
    for (int i = 0; i < count; ++i)
        Never(records[i].Count() != 15 || records[i].Get("MessageId").Length() == 0 ||
              records[i].Get("X-Message-Id").Length() == 0);

    // With the true count, so that only what the mails hold matters.
    const STRING listing(std::string_view(std::to_string(count) + " msgs|? unread|0 bytes\n" + blocks));
    static const FILTERSTATE filter;
    const STRINGARRAY& state = filter.State;
    STRINGARRAY item;
    int handle = FIRST_ITEM_HANDLE;
    FixItem(item, state, handle);
    TRASHSTORE trash;
    const SAMETEXT texts;
    bool popup = false;
    COUNTER first;
    HandleNewMail(item, listing, item.Get("LastSeenIds"), false, {state, texts, trash, first}, popup);
    COUNTER second;
    HandleNewMail(item, listing, item.Get("LastSeenIds"), false, {state, texts, trash, second}, popup);
    Never(first.New != count || second.New != 0);
}
