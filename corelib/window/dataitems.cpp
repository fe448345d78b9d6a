#include "corelib/window/dataitems.h"

#include <algorithm>

#include "corelib/base/trace.h"
#include "corelib/window/controls.h"
#include "corelib/window/datadialog.h"

namespace {

// The numbers that arrows beside edit fields get.
constexpr int FIRST_SPIN_ID = 65000;
constexpr int END_SPIN_ID = 65500;

void AddStyle(HWND window, LONG style) {
    SetWindowLongW(window, GWL_STYLE, GetWindowLongW(window, GWL_STYLE) | style);
}

}  // namespace

bool DATAITEM::IsThere(HWND control, const char* text) const {
    STRING number;
    number.Format("%d", Control);
    return ASSERTION_INFO(control != nullptr, text, number.Text());
}

void DATAITEM::Put(const STRING& text) {
    const uint32_t flags = Value->GetFlags();
    *Value = text;
    Value->SetFlags(Value->GetFlags() | flags);
}

void DATAITEM::PutNumber(int number) {
    STRING text;
    text.Format("%d", number);
    Put(text);
}

void DATAEDIT::Load(DATADIALOG& dialog) {
    EDITFIELD e(dialog.hWnd, Control);
    if (!IsThere(e.Hwnd(), "e.Hwnd()"))
        return;
    STRING text = Value->View().empty() ? STRING("") : *Value;
    if (stricmp(e.ClassName().Text(), "COMBOBOX", false) == 0) {
        SendMessageW(e.Hwnd(), CB_LIMITTEXT, static_cast<WPARAM>(Limit), 0);
    } else if (GetWindowLongW(e.Hwnd(), GWL_STYLE) & ES_MULTILINE) {
        // The control knows no other end of a line.
        text.Replace("\r\n", "\n");
        text.Replace("\n", "\r\n");
    } else {
        AddStyle(e.Hwnd(), ES_AUTOHSCROLL);
    }
    e.Limit(Limit);
    e.SetText(text);
    e.SelectAll();
    Shown = e.Text();
}

void DATAEDIT::Store(DATADIALOG& dialog) {
    const EDITFIELD e(dialog.hWnd, Control);
    if (e.Hwnd() && e.Text() != Shown)
        Put(e.Text());
}

HWND DATANUMBER::MakeSpin(HWND dialog, HWND edit) {
    for (IdSpin = FIRST_SPIN_ID; IdSpin < END_SPIN_ID && GetDlgItem(dialog, IdSpin);)
        ++IdSpin;
    if (!ASSERTION(IdSpin < END_SPIN_ID, "IdSpin<65500"))
        return nullptr;
    const HWND spin = CreateWindowExW(
        0, UPDOWN_CLASSW, L"",
        WS_CHILD | WS_VISIBLE | UDS_ALIGNRIGHT | UDS_SETBUDDYINT | UDS_ARROWKEYS | UDS_NOTHOUSANDS, 0, 0, 0, 0, dialog,
        reinterpret_cast<HMENU>(static_cast<intptr_t>(IdSpin)), GetModuleHandleW(nullptr), nullptr);
    SendMessageW(spin, UDM_SETBUDDY, reinterpret_cast<WPARAM>(edit), 0);
    SendMessageW(spin, UDM_SETRANGE32, static_cast<WPARAM>(Minimum), Maximum);
    return spin;
}

void DATANUMBER::Load(DATADIALOG& dialog) {
    EDITFIELD e(dialog.hWnd, Control);
    if (!IsThere(e.Hwnd(), "e.Hwnd()"))
        return;
    AddStyle(e.Hwnd(), ES_NUMBER);
    const HWND made = IdSpin == 0 ? nullptr : GetDlgItem(dialog.hWnd, IdSpin);
    const HWND spin = made ? made : MakeSpin(dialog.hWnd, e.Hwnd());
    SendMessageW(spin, UDM_SETPOS32, 0, Number());
    if (Number() < Minimum || Number() > Maximum)
        SetDlgItemInt(dialog.hWnd, Control, static_cast<UINT>(Number()), TRUE);
    e.SelectAll();
    Shown = e.Text();
}

bool DATANUMBER::IsIn(const STRING& text) const {
    constexpr int MAX_DIGITS = 9;
    return text.Length() > 0 && text.Length() <= MAX_DIGITS && atoi(text) >= Minimum && atoi(text) <= Maximum;
}

void DATANUMBER::Store(DATADIALOG& dialog) {
    // Not the arrows' number, which stays where it was when something beyond the bounds is typed.
    const EDITFIELD e(dialog.hWnd, Control);
    if (e.Hwnd() && e.Text() != Shown && IsIn(e.Text()))
        PutNumber(atoi(e.Text()));
}

STRING DATANUMBER::Complaint(const DATADIALOG& dialog) const {
    const EDITFIELD e(dialog.hWnd, Control);
    // What cannot be reached need not be right.
    if (!e.Hwnd() || !IsWindowEnabled(e.Hwnd()) || e.Text() == Shown || IsIn(e.Text()))
        return {};
    STRING text;
    text.Format(IsGermanResourceModule() ? "Bitte geben Sie eine Zahl von %d bis %d ein."
                                         : "Please enter a number from %d to %d.",
                Minimum, Maximum);
    return text;
}

void DATACHECK::Load(DATADIALOG& dialog) {
    BUTTON check(dialog.hWnd, Control);
    Shown = Bit == NO_BIT ? Number() != 0 : (Number() >> Bit & 1) != 0;
    if (IsThere(check.Hwnd(), "check.Hwnd()"))
        check.SetState(Shown);
}

void DATACHECK::Store(DATADIALOG& dialog) {
    const BUTTON check(dialog.hWnd, Control);
    if (!check.Hwnd() || check.IsChecked() == Shown)
        return;
    const int checked = check.IsChecked();
    PutNumber(Bit == NO_BIT ? checked : (Number() & ~(1 << Bit)) | checked << Bit);
}

void DATARADIO::Load(DATADIALOG& dialog) {
    BUTTON radio(dialog.hWnd, Control);
    if (IsThere(radio.Hwnd(), "radio.Hwnd()"))
        radio.SetState(Number() == Own);
}

void DATARADIO::Store(DATADIALOG& dialog) {
    const BUTTON radio(dialog.hWnd, Control);
    if (radio.Hwnd() && radio.IsChecked() && Number() != Own)
        PutNumber(Own);
}

void DATALIST::Load(DATADIALOG& dialog) {
    LISTBOX lb(dialog.hWnd, Control);
    if (!IsThere(lb.Hwnd(), "lb.Hwnd()"))
        return;
    if (!Texts.empty())
        lb.Clear();
    for (const STRING& text : Texts)
        lb.Add(text);
    lb.Select(Number());
    Shown = lb.Selected();
}

void DATALIST::Store(DATADIALOG& dialog) {
    const LISTBOX lb(dialog.hWnd, Control);
    if (lb.Hwnd() && lb.Selected() >= 0 && lb.Selected() != Shown)
        PutNumber(lb.Selected());
}

void DATATEXTLIST::Load(DATADIALOG& dialog) {
    DATALIST::Load(dialog);
    LISTBOX lb(dialog.hWnd, Control);
    if (!lb.Hwnd())
        return;
    lb.Select(lb.Find(*Value));
    Shown = lb.Selected();
}

void DATATEXTLIST::Store(DATADIALOG& dialog) {
    const LISTBOX lb(dialog.hWnd, Control);
    if (lb.Hwnd() && lb.Selected() >= 0 && lb.Selected() != Shown)
        Put(lb.SelectedText());
}

void DATAPUSH::Load(DATADIALOG&) {
    ASSERTION(this->Magic == MAGIC, "this->Magic==0x50555348");
    Held = *Value;
}

void DATAPUSH::Store(DATADIALOG&) {
    ASSERTION(this->Magic == MAGIC, "this->Magic==0x50555348");
    if (Held != *Value)
        Put(Held);
}

void DATAPUSH::Press(DATADIALOG& dialog) {
    ASSERTION(this->Magic == MAGIC, "this->Magic==0x50555348");
    // A copy: the function may run a dialog's message loop, in which this very item is used.
    const STRING before = Held;
    Held = Function(before, Argument, dialog);
}
