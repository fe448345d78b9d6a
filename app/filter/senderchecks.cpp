#include "app/filter/senderchecks.h"

#include <string_view>

#include "app/common/mailtext.h"
#include "app/filter/points.h"
#include "app/filter/smtpverify.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

namespace {

/// A domain that is sure to have mail servers: without an answer for it the name service cannot be used from here.
constexpr const char* PROBE_DOMAIN = "debian.org";

constexpr int SHORT_LOCAL_PART = 4;  // bytes that are no sign of anything
constexpr int MANY_DIGITS = 5;
constexpr int SMTP_UNAVAILABLE = 550;

/// What the part of an address in front of its "@" is made of.
struct LOCALPART {
    int Length = 0;
    int Digits = 0;
    int Letters = 0;
    bool AlphaAfterDigit = false;
};

LOCALPART Analyse(std::string_view address) {
    LOCALPART part;
    for (const char c : address.substr(0, address.find('@'))) {
        ++part.Length;
        if (ASCII::IsDigit(c)) {
            ++part.Digits;
        } else if (ASCII::IsLetter(c)) {
            ++part.Letters;
            part.AlphaAfterDigit |= part.Digits > 0;
        }
    }
    return part;
}

}  // namespace

int SpamFromFormatting(const STRING& from, const STRINGARRAY& vars, const TEXTS& texts, int& significance,
                       STRING& reason) {
    // The words of these traces have always been spelt so.
    Trace("TARNWCIK::SpamFromFormatting %s\n", from.Text());
    significance = 0;
    reason = "";
    // The variables are whatever their file says: wider than the result, so that no sum of them runs over.
    int64_t points = 0;
    STRING name = from;
    STRING address;
    SplitAddress(name, address);
    const bool same = stricmp(name.Text(), address.Text(), false) == 0;
    if (same || name.Pos(' ') == -1) {
        points = same ? vars.GetNumber("SenderNoRealName") : vars.GetNumber("SenderNoRealName") / 2;
        reason += texts.Get(TEXT_NO_REAL_NAME);
    }
    const LOCALPART part = Analyse(address.View());
    Trace("TARNWCIK::SpamFromFormatting alphacount= %d, digigcount= %d, alphaafterdigit= %d\n", part.Letters,
          part.Digits, part.AlphaAfterDigit);
    if (part.Length > SHORT_LOCAL_PART) {
        const int percent = static_cast<int>(int64_t{part.Digits} * 100 / part.Length);
        int64_t extra = part.Digits >= MANY_DIGITS ? int64_t{vars.GetNumber("SenderAdddrDigits")} * (percent / 10) : 0;
        if (part.AlphaAfterDigit)
            extra += vars.GetNumber("SenderAlphaAfterDigits");
        if (percent > 50 || part.AlphaAfterDigit)
            significance = 1;
        if (extra != 0) {
            if (reason.Length() > 0)
                reason += ", ";
            reason += texts.Get(TEXT_DIGITS);
            points += extra;
        }
    }
    Trace("TARNWCIK::SpamFromFormatting returns wordplus= %d, pt= %d\n", significance, WithinRange(points));
    return WithinRange(points);
}

int SpamFrom(const SENDERPARTS& parts, const STRING& from, int totalPoints, int& significance, STRING& reason,
             int handle, const STRING& status) {
    Trace("TARNWCIK::SpamFrom %s\n", from.Text());
    reason = "";
    STRING name = from;
    STRING address;
    SplitAddress(name, address);
    const int at = address.Pos('@');
    const STRING domain = at == -1 ? STRING("") : address.Mid(at + 1);
    if (parts.State.GetNumber("SpamDoDomain") == 0 ||
        parts.State.Get("SpamDomainExceptions").Pos(domain.Text()) != -1) {
        reason += parts.Texts.Get(TEXT_NOT_CHECKED);
        return 0;
    }
    Trace("TARNWCIK::SpamFrom before DNSQuery\n");
    STRING bestmx;
    STRING list;
    const auto isStopped = [&parts] { return parts.StopAsked && parts.StopAsked(); };
    if (isStopped() || !parts.Mx.GetAddr(PROBE_DOMAIN, bestmx, list)) {
        reason += parts.Texts.Get(TEXT_NO_NAME_SERVICE);
        return 0;
    }
    reason = domain || " ";
    if (domain.Length() == 0)
        return 0;
    const bool found = parts.Mx.GetAddr(domain.Text(), bestmx, list);
    if (!found && parts.Mx.IsSilent()) {
        // Nobody knows, which is no sign of spam.
        reason += parts.Texts.Get(TEXT_NO_NAME_SERVICE);
        return 0;
    }
    reason += found ? "(mx ok)" : "(mx fail)";
    if (!found) {
        significance = parts.Vars.GetNumber("SenderErrorSignificance");
        return parts.Vars.GetNumber("SenderHasNoMailserver");
    }
    if (parts.State.GetNumber("SpamDoVerify") == 0 || parts.State.GetNumber("SpamVerifyPoints") > totalPoints) {
        reason += parts.Texts.Get(TEXT_NOT_VERIFIED);
        return 0;
    }
    // Something goes on, which the user may see.
    parts.FrontEnd.SetItemStatus(handle, status || " ");
    int code = 0;
    const std::string server(bestmx.View());
    bool dead = parts.Mx.DeadServers.count(server) != 0;
    const bool answered =
        !dead && !isStopped() && VerifySenderSmtp(bestmx, address, code, parts.StopAsked, &dead, parts.Times);
    if (dead)
        parts.Mx.DeadServers.insert(server);
    if (answered && code >= 200 && code <= 299) {
        reason += ": accepted sender";
        return 0;
    }
    if (answered && code == SMTP_UNAVAILABLE) {
        reason += " said mailbox unavailable";
        significance = parts.Vars.GetNumber("SenderUnavailSignificance");
        return parts.Vars.GetNumber("SenderSmtpSaidUnavail");
    }
    reason += ": error while trying to verify";
    significance = parts.Vars.GetNumber("SenderErrorSignificance");
    return parts.Vars.GetNumber("SenderSmtpError");
}
