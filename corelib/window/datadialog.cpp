#include "corelib/window/datadialog.h"

#include "corelib/base/trace.h"
#include "corelib/window/controls.h"
#include "corelib/window/datapages.h"
#include "corelib/window/messages.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int ID_HELP = 9;
constexpr int TIP_WIDTH = 300;  // at 96 dots per inch

bool IsPushButton(HWND window) {
    const BUTTON button(window);
    if (stricmp(button.ClassName().Text(), "BUTTON", false) != 0)
        return false;
    const int kind = button.Kind();
    return kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON || kind == BS_USERBUTTON;
}

bool IsRadioButton(HWND window) {
    const BUTTON button(window);
    return stricmp(button.ClassName().Text(), "BUTTON", false) == 0 &&
           (button.Kind() == BS_RADIOBUTTON || button.Kind() == BS_AUTORADIOBUTTON);
}

// The arrows of a field for a number; null if it has none.
HWND ArrowsOf(HWND dialog, HWND field) {
    HWND arrows = nullptr;
    do
        arrows = FindWindowExW(dialog, arrows, UPDOWN_CLASSW, nullptr);
    while (arrows && reinterpret_cast<HWND>(SendMessageW(arrows, UDM_GETBUDDY, 0, 0)) != field);
    return arrows;
}

RULESTATE StateOf(HWND window) {
    RULESTATE state;
    const STRING kind = CONTROL(window).ClassName();
    if (stricmp(kind.Text(), "BUTTON", false) == 0) {
        if (!IsPushButton(window)) {
            state.Kind = RULESTATE::CHECKABLE;
            state.Checked = BUTTON(window).IsChecked();
        }
    } else if (stricmp(kind.Text(), "COMBOBOX", false) == 0 || stricmp(kind.Text(), "LISTBOX", false) == 0) {
        state.Kind = RULESTATE::LIST;
        state.Text = LISTBOX(window).SelectedText();
    } else if (stricmp(kind.Text(), "EDIT", false) == 0) {
        state.Kind = RULESTATE::EDIT;
        state.Text = WINDOW(window).Title();
    }
    return state;
}

}  // namespace

DATADIALOG::DATADIALOG(int resource, HWND parent) : DIALOG(resource), Waiting(parent) {}

DATADIALOG::~DATADIALOG() = default;

void DATADIALOG::AddPush(std::unique_ptr<DATAPUSH> item) {
    if (!ASSERTION(this->Howmany < this->Max, "this->Howmany < this->Max"))
        return;
    PushItems[Howmany++] = item.get();
    Add(std::move(item));
}

void DATADIALOG::Disable(int target, int source, uint32_t mode, const STRING& compare) {
    AddRule({target, this, source, mode, compare});
}

void DATADIALOG::Disable(int target, DATADIALOG& sourceParent, int source, uint32_t mode, const STRING& compare) {
    AddRule({target, &sourceParent, source, mode, compare});
}

void DATADIALOG::Disable(DATADIALOG& targetParent, int target, DATADIALOG& sourceParent, int source, uint32_t mode,
                         const STRING& compare) {
    // Rules stand with their target, so that all that speak about it are found together.
    targetParent.AddRule({target, &sourceParent, source, mode, compare});
}

void DATADIALOG::AddRule(const RULE& rule) {
    if (ASSERTION(this->DisableItemCount < DisableItems.size(), "this->DisableItemCount<ARRAYMAX(this->DisableItems)"))
        DisableItems[DisableItemCount++] = rule;
}

void DATADIALOG::SetHook(HOOK function, void* argument) {
    UserHook = function;
    UserArgument = argument;
}

bool DATADIALOG::Run() {
    return DIALOG::Run(Waiting) == IDOK;
}

STRING DATADIALOG::ControlText(int control) const {
    return WINDOW(GetDlgItem(hWnd, control)).Title();
}

void DATADIALOG::SetControlText(int control, const STRING& text) {
    WINDOW(GetDlgItem(hWnd, control)).SetTitle(text);
}

STRING DATADIALOG::Complaint(int&) const {
    return {};
}

STRING DATADIALOG::Tip(int) const {
    return {};
}

STRING DATADIALOG::FirstComplaint(int& control) const {
    for (const auto& item : Items) {
        control = item->ControlId();
        const STRING complaint = item->Complaint(*this);
        if (complaint.NotNull())
            return complaint;
    }
    return Complaint(control);
}

void DATADIALOG::Rescaled(SCALE before) {
    DIALOG::Rescaled(before);
    if (Tips)
        ScaleTips(Tips, TIP_WIDTH);
}

void DATADIALOG::MakeTips() {
    Tips = nullptr;
    for (HWND child = GetWindow(hWnd, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        std::wstring text = WideText(Tip(GetDlgCtrlID(child)));
        if (text.empty())
            continue;
        if (!Tips)
            Tips = MakeTipWindow(hWnd, TIP_WIDTH);
        TOOLINFOW tool{};
        tool.cbSize = sizeof tool;
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = hWnd;
        tool.uId = reinterpret_cast<UINT_PTR>(child);
        tool.lpszText = text.data();
        SendMessageW(Tips, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    }
}

bool DATADIALOG::IsAcceptable() {
    int control = 0;
    const STRING complaint = FirstComplaint(control);
    if (!complaint.NotNull())
        return true;
    if (Frame)
        Frame->ShowPage(*this);
    ShowError(Top().hWnd, complaint, Top().Title());
    if (const HWND window = GetDlgItem(hWnd, control))
        SendMessageW(Top().hWnd, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(window), TRUE);
    return false;
}

DATADIALOG& DATADIALOG::Top() {
    return Frame ? *Frame : *this;
}

void DATADIALOG::Load() {
    for (const auto& item : Items)
        item->Load(*this);
    for (const auto& [control, hides] : Withdrawn)
        SetState(GetDlgItem(hWnd, control), hides, true);
    MakeTips();
}

void DATADIALOG::Store() {
    for (const auto& item : Items)
        item->Store(*this);
}

void DATADIALOG::ApplyRules() {
    for (size_t i = 0; i < DisableItemCount; ++i)
        Apply(DisableItems[i]);
}

bool DATADIALOG::IsDisabled(const RULE& rule) const {
    const HWND cdepend = GetDlgItem(rule.SourceParent->hWnd, rule.Source);
    STRING number;
    number.Format("%d", rule.Source);
    return ASSERTION_INFO(cdepend != nullptr, "(HWND)cdepend", number.Text()) &&
           RuleHolds(StateOf(cdepend), rule.Mode, rule.Compare);
}

void DATADIALOG::Apply(const RULE& rule) {
    for (const auto& withdrawn : Withdrawn)
        if (withdrawn.first == rule.Target)
            return;
    const HWND target = GetDlgItem(hWnd, rule.Target);
    bool value = IsDisabled(rule);
    for (size_t i = 0; i < DisableItemCount && !value; ++i) {
        const RULE& other = DisableItems[i];
        if (&other != &rule && other.Target == rule.Target && (other.Mode & RULE_HIDES) == (rule.Mode & RULE_HIDES))
            value = IsDisabled(other);
    }
    SetState(target, (rule.Mode & RULE_HIDES) || (GetWindowLongW(target, GWL_EXSTYLE) & WS_EX_CONTROLPARENT), value);
}

void DATADIALOG::SetState(HWND target, bool hides, bool value) {
    // Or the keyboard would be nowhere.
    if (value && target && GetFocus() == target)
        SendMessageW(Top().hWnd, WM_NEXTDLGCTL, 0, FALSE);
    for (const HWND window : {target, ArrowsOf(hWnd, target)}) {
        if (hides)
            ShowWindow(window, value ? SW_HIDE : SW_SHOW);
        else
            EnableWindow(window, !value);
    }
}

void DATADIALOG::SourceChanged(DATADIALOG& parent, HWND control) {
    const bool radio = IsRadioButton(control);
    for (size_t i = 0; i < DisableItemCount; ++i) {
        const RULE& rule = DisableItems[i];
        const HWND source = GetDlgItem(rule.SourceParent->hWnd, rule.Source);
        // A click on one radio button changes its neighbours, which say nothing of it.
        if ((rule.SourceParent == &parent && source == control) || (radio && source && IsRadioButton(source)))
            Apply(rule);
    }
}

bool DATADIALOG::PressItem(int control) {
    for (size_t i = 0; i < Howmany; ++i) {
        if (PushItems[i]->ControlId() == control) {
            PushItems[i]->Press(*this);
            return true;
        }
    }
    return false;
}

// True if the message ends here.
bool DATADIALOG::OnCommand(int control, int code, HWND window) {
    if (code == BN_CLICKED && control != ID_HELP && window && IsPushButton(window) && PressItem(control))
        return true;
    if (code == BN_CLICKED && control == IDOK && !Frame) {
        if (!IsAcceptable())
            return true;
        Store();
        return false;
    }
    if (window && (code == BN_CLICKED || code == LBN_SELCHANGE || code == EN_CHANGE))
        Top().SourceChanged(*this, window);
    return false;
}

LRESULT DATADIALOG::WinProc(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_INITDIALOG:
            Filled = false;
            if (Frame)
                return 0;
            Load();
            ApplyRules();
            Filled = true;
            // Whoever shows a page places it, and sees to the focus.
            if (GetWindowLongW(hWnd, GWL_STYLE) & WS_CHILD)
                return 0;
            if (Waiting)
                TakeIconsOf(Waiting);
            Center(Waiting);
            return 1;
        case WM_CLOSE:
            // Escape in a field of several lines, which asks its parent.
            if (!Frame)
                break;
            PostMessageW(Frame->hWnd, WM_COMMAND, IDCANCEL, 0);
            return 0;
        case WM_COMMAND:
        case WM_NOTIFY:
            if (!Top().Filled)
                break;
            if (UserHook && UserHook(*this, message, first, second, UserArgument))
                return 0;
            if (message == WM_COMMAND && OnCommand(LOWORD(first), HIWORD(first), reinterpret_cast<HWND>(second)))
                return 0;
            break;
        default:
            break;
    }
    return DIALOG::WinProc(message, first, second);
}
