#include "app/notify/traydisplay.h"

#include <algorithm>
#include <string_view>

#include "app/check/checkcycle.h"
#include "app/common/formats.h"
#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"

namespace {

// Counts of two digits show their tens only, up to this picture for all above.
constexpr int PICTURE_TENS = 10;
constexpr int PICTURE_MOST = 13;

constexpr size_t TOOLTIP_BYTES = 63;
constexpr std::string_view ELLIPSIS = "...";

}  // namespace

int TrayPicture(const TRAYSTATE& state) {
    if (state.Updating)
        return TRAY_UPDATING;
    if (state.Failed)
        return TRAY_FAILED;
    if (state.Suspended)
        return TRAY_SUSPENDED;
    const int count = state.Acknowledged ? 0 : std::max(state.Count, 0);
    return count <= 9 ? count : std::min(PICTURE_TENS - 1 + count / 10, PICTURE_MOST);
}

int TrayPicture(CHECKCYCLE& cycle, const STRINGARRAY& state) {
    TRAYSTATE tray;
    tray.Count = cycle.CountMails(-1, nullptr, &tray.Failed);
    cycle.SetShownCount(tray.Count);
    tray.Acknowledged = state.GetNumber("ResetCounter") != 0;
    tray.Updating = cycle.IsUpdating();
    tray.Suspended = cycle.IsSuspended();
    return TrayPicture(tray);
}

STRING TooltipText(const TEXTS& texts, int total, int unread, const STRING& failed) {
    STRING tooltip = texts.Get(TEXT_TOOLTIP) || ": " || FormatMailCount(texts, total) || " (";
    if (unread != total)
        tooltip += FormatMailCount(texts, unread, " " || texts.Get(TEXT_UNREAD) || " ") || ")";
    Trace("TARNWICK::MakeNewTooltip 1. tooltip= '%s'\n", tooltip.Text());
    tooltip.ChopLast('(');
    Trace("TARNWICK::MakeNewTooltip 2. tooltip= '%s'\n", tooltip.Text());
    if (failed.Length() == 0)
        return tooltip;
    tooltip += "\n";
    tooltip += texts.Get(TEXT_CHECK_FAILED);
    const auto used = static_cast<size_t>(tooltip.Length());
    if (used + ELLIPSIS.size() >= TOOLTIP_BYTES)
        return STRING(UTF8::Cut(tooltip.View(), TOOLTIP_BYTES));
    const size_t room = TOOLTIP_BYTES - used;
    const bool fits = failed.View().size() <= room;
    const std::string_view names = fits ? failed.View() : UTF8::Cut(failed.View(), room - ELLIPSIS.size());
    return tooltip || STRING(names) || (fits ? "" : ELLIPSIS.data());
}

STRING TooltipText(const TEXTS& texts, CHECKCYCLE& cycle) {
    const int total = cycle.CountMails(0, nullptr, nullptr);
    return TooltipText(texts, total, cycle.CountMails(1, nullptr, nullptr), cycle.FailedItems());
}
