#include "app/filter/recipientchecks.h"

#include <algorithm>
#include <string_view>

#include "app/filter/points.h"
#include "corelib/base/ascii.h"

namespace {

/// What the handlers write for the owner of a mailbox whose addresses they do not know.
constexpr const char* OWNER_TOKEN = "{me}";
constexpr int GRADES = 3;  // the highest grade of how rare such mail is for the user

bool IsSeparator(char c) {
    return c == ' ' || c == '.';
}

/// A subject that ends in a number which sets each copy of a mailing apart. lastSeparator: where the last blank or dot
/// stands.
bool HasBogusId(std::string_view subject, int lastSeparator, int run) {
    const auto length = static_cast<int>(subject.size());
    int p = length - 1;
    while (p >= 0 && (ASCII::IsDigit(subject[static_cast<size_t>(p)]) || subject[static_cast<size_t>(p)] == '[' ||
                      subject[static_cast<size_t>(p)] == ']'))
        --p;
    const int tail = length - p - 1;
    if (p > 1 && IsSeparator(subject[static_cast<size_t>(p)]) && IsSeparator(subject[static_cast<size_t>(p) - 1]) &&
        tail >= 4 && tail <= 7)
        return true;
    return run >= 10 && lastSeparator >= length - 12 && lastSeparator <= length - 4;
}

bool IsAddressedTo(const STRING& addresses, const STRING& toline, const STRING& ccline) {
    WORDCURSOR lines(addresses, "\n");
    std::string_view line;
    while (lines.Next(line)) {
        STRING address(line);
        address.Strip('B', " \"\t\n\r");
        if (address.Length() >= 4 && (toline.Pos(address.Text()) != -1 || ccline.Pos(address.Text()) != -1))
            return true;
    }
    return false;
}

}  // namespace

int SpamSubject(const STRING& subject, const STRINGARRAY& vars, const TEXTS& texts, STRING& reason) {
    reason = "";
    STRING copy = subject;
    copy.Strip('R', " \t");
    if (copy.Length() == 0)
        return 0;
    int lower = 0;
    int lastSeparator = 0;
    int run = 0;  // equal separators in front of the last one; letters between do not count
    const std::string_view text = copy.View();
    for (size_t i = 0; i < text.size(); ++i) {
        lower += ASCII::IsLower(text[i]);
        if (!IsSeparator(text[i]))
            continue;
        lastSeparator = static_cast<int>(i);
        run = i > 1 && text[i - 1] == text[i] ? run + 1 : 0;
    }
    int64_t points = 0;
    if (HasBogusId(text, lastSeparator, run)) {
        points = vars.GetNumber("SubjectWithBogusId");
        reason += texts.Get(TEXT_BOGUS_ID);
        copy.Truncate(lastSeparator);
        copy.Strip('B', " \t");
    }
    if (copy.Length() > 10 && lower < copy.Length() / 5) {
        reason += texts.Get(TEXT_CAPITALS);
        points += vars.GetNumber("SubjectAllUcase");
    }
    reason.Strip('R', "/");
    return WithinRange(points);
}

int SpamRecipients(const STRING& toline, const STRING& ccline, const STRINGARRAY& state, const STRINGARRAY& vars,
                   const TEXTS& texts, int& significance, STRING& reason) {
    significance = 0;
    reason = "";
    const auto isComma = [](char c) { return c == ',' || c == ';'; };
    const auto recipients = 1 + std::count_if(toline.View().begin(), toline.View().end(), isComma) +
                            std::count_if(ccline.View().begin(), ccline.View().end(), isComma);
    // Readers of mailing lists get mail that does not name them.
    const int limit = state.GetNumber("SpamHaveDistrLists") != 0 ? state.GetNumber("SpamDistrLists") : GRADES;
    const int64_t factor = std::min(state.GetNumber("SpamBccReceiver"), limit);
    int64_t points = 0;
    if (!IsAddressedTo(state.Get("SpamMyEmail") || "\n" || OWNER_TOKEN, toline, ccline)) {
        points = vars.GetNumber("AddrNotToMe") * (factor + 1);
        reason += texts.Get(TEXT_NOT_TO_ME) || " ";
        ++significance;
    }
    if (recipients >= vars.GetNumber("AddrMultiRecipLimit")) {
        STRING text = texts.Get(TEXT_MANY_RECIPIENTS);
        STRING limitText;
        limitText.Format("%d", vars.GetNumber("AddrMultiRecipLimit"));
        text.Replace("$HOWMANY", limitText.Text());
        reason += text;
        points += vars.GetNumber("AddrPerMultiRecip") * (int64_t{state.GetNumber("SpamMultiReicipients")} + 1);
        ++significance;
    }
    reason.Strip('R', ", ");
    return WithinRange(points);
}
