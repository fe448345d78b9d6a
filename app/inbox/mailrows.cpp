#include "app/inbox/mailrows.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>

#include "app/common/displaytext.h"
#include "app/core/clickmodes.h"
#include "app/reading/shownmail.h"
#include "corelib/base/ascii.h"

namespace {

constexpr int SUBJECT_CHARACTERS = 40;
constexpr const char* NO_POINTS = "       ";

}  // namespace

void MAILROWS::TakeShown() {
    Shown.clear();
    for (int i = 0; i < Mails.Count(); ++i) {
        Mails[i].Set("@Touched", "0");
        SHOWNMAIL::HEADER header = SHOWNMAIL::Header(Mails[i]);
        std::string subject(ASCII::TrimRight(DISPLAYTEXT::FirstCharacters(header.Subject, SUBJECT_CHARACTERS), " "));
        Shown.push_back({std::move(header.Sender), std::move(subject)});
    }
}

void MAILROWS::Remove(int mail) {
    Mails.Delete(mail);
    Shown.erase(Shown.begin() + mail);
}

std::string MAILROWS::RowText(int mail) const {
    const STRINGARRAY& record = Mails[mail];
    const SHOWN& shown = Shown[static_cast<size_t>(mail)];
    const bool hasPoints = record.GetNumber("X-SpamPoints") > 0;
    return shown.Sender + '\t' + shown.Subject + '\t' + std::string(record["X-Size"].View()) + '\t' +
           (hasPoints ? std::to_string(record.GetNumber("X-SpamPoints")) : NO_POINTS);
}

MAILPICTURE MAILROWS::Picture(int mail) const {
    const STRINGARRAY& record = Mails[mail];
    if (IsMarked(mail))
        return PICTURE_MARKED;
    const bool ignored =
        State.GetNumber("SpamDoIgnore") != 0 && record.GetNumber("X-SpamPoints") >= State.GetNumber("SpamIgnorePoints");
    if (ignored || record.GetNumber("Trashed") != 0)
        return PICTURE_PASSED_OVER;
    return record.GetNumber("Seen") != 0 ? PICTURE_READ : PICTURE_UNREAD;
}

int MAILROWS::CountMarked() const {
    int marked = 0;
    for (int i = 0; i < Count(); ++i)
        marked += IsMarked(i);
    return marked;
}

void MAILROWS::Mark(const std::vector<int>& mails, bool marked) {
    SetMarks(mails, marked);
    for (const int mail : mails)
        Teach(mail, marked);
}

LISTED MAILROWS::ListSenders(const std::vector<int>& mails, bool bad) {
    std::vector<const STRINGARRAY*> records;
    for (const int mail : mails) {
        records.push_back(&Mails[mail]);
        Teach(mail, bad);
    }
    return AddSenders(State.Get(bad ? "SpamBadSenders" : "SpamMyFriends"), records);
}

void MAILROWS::SetMarks(const std::vector<int>& mails, bool marked) {
    for (const int mail : mails) {
        Mails[mail].Set("Deleted", marked ? "1" : "0");
        Mails[mail].Set("@Touched", "1");
    }
}

int MAILROWS::Compare(int left, int right, int column) const {
    const auto number = [&](int mail, const char* key) { return atoi64(Mails[mail][key]); };
    switch (column) {
        case COLUMN_SIZE:
            // The number at the start of what is shown, so that 900 KB count more than 2 MB.
            return static_cast<int>(std::clamp<int64_t>(number(right, "X-Size") - number(left, "X-Size"), -1, 1));
        case COLUMN_POINTS:
            return static_cast<int>(std::clamp<int64_t>(std::max<int64_t>(number(right, "X-SpamPoints"), 0) -
                                                            std::max<int64_t>(number(left, "X-SpamPoints"), 0),
                                                        -1, 1));
        case COLUMN_SUBJECT:
            return stricmp(Shown[static_cast<size_t>(left)].Subject.c_str(),
                           Shown[static_cast<size_t>(right)].Subject.c_str(), 0);
        default:
            return 0;  // by their place, which a stable sort keeps
    }
}

std::vector<int> MAILROWS::Sorted() const {
    std::vector<int> order(static_cast<size_t>(Count()));
    std::iota(order.begin(), order.end(), 0);
    const int column = State.GetNumber("LastInboxSortColumn");
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return Compare(a, b, column) < 0; });
    if (State.GetNumber("LastInboxSortOrder") != 0)
        std::reverse(order.begin(), order.end());
    return order;
}

void MAILROWS::ClickColumn(int column) {
    ClickColumnHead(State, column, "LastInboxSortColumn", "LastInboxSortOrder");
}

std::vector<COMMANDSTATE> MAILROWS::CommandStates(const std::vector<int>& selected, bool canAnswer) const {
    const bool one = selected.size() == 1, some = !selected.empty();
    const bool canMark = std::ranges::none_of(
        selected, [&](int mail) { return IsMarked(mail) || Mails[mail]["X-Message-Id"].Length() == 0; });
    const bool allMarked = std::ranges::all_of(selected, [&](int mail) { return IsMarked(mail); });
    const auto enabled = [](int command, bool is) { return COMMANDSTATE{command, is, {}}; };
    return {enabled(COMMAND_MAIL_ANSWER, one && canAnswer),
            enabled(COMMAND_MAIL_MARK, some && canMark),
            enabled(COMMAND_MAIL_VIEW, one),
            enabled(COMMAND_MAIL_APPLY, HasMarked()),
            enabled(COMMAND_MAIL_UNMARK, some && allMarked),
            enabled(COMMAND_MAIL_REASON, one),
            enabled(COMMAND_MAIL_FRIEND, some),
            enabled(COMMAND_MAIL_BAD_SENDER, some)};
}

bool MAILROWS::MayApply(bool automatic) const {
    bool touched = !automatic || State.GetNumber("InboxLeaveUntouched") == 0;
    for (int i = 0; i < Count() && !touched; ++i)
        touched = IsTouched(i);
    return touched && HasMarked();
}

bool MAILROWS::MustAsk(bool automatic) const {
    return State.GetNumber(automatic ? "InboxAskApplyAuto" : "InboxAskApply") != 0;
}

std::vector<int> MAILROWS::Find(const std::vector<std::string>& names) const {
    if (names.empty())
        return {};
    std::unordered_map<std::string, std::vector<int>> found;
    for (const std::string& name : names)
        found[name];
    for (int i = Count() - 1; i >= 0; --i)
        if (const auto it = found.find(Name(i)); it != found.end())
            it->second.push_back(i);
    std::vector<int> mails;
    for (const std::string& name : names) {
        std::vector<int>& equal = found[name];
        if (equal.empty())
            continue;
        mails.push_back(equal.back());
        equal.pop_back();
    }
    return mails;
}
