#include "app/desktop/formpage.h"

#include <algorithm>

#include "app/dialogs/itemform.h"
#include "app/notify/mailprogram.h"
#include "corelib/window/controls.h"
#include "corelib/window/datapush.h"
#include "corelib/window/fontvalue.h"
#include "corelib/window/messages.h"

namespace {

constexpr int ID_SAMPLE = 290;

STRING NoSound(const TEXTS& texts, const STRING& file) {
    STRING text = texts.Get(TEXT_NO_SOUND);
    text.Replace("$FILE", file.Text());
    return text;
}

STRING PushCheckedPlay(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    const TEXTS& texts = static_cast<FORMPAGE&>(dialog).Parts().Texts;
    const STRING file = dialog.ControlText(argument.Control);
    if (IsSoundFile(file))
        return PushPlay(value, argument, dialog);
    ShowError(dialog.hWnd, NoSound(texts, file), texts.Get(TEXT_TITLE));
    return value;
}

STRING PushEditor(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    const DIALOGPARTS& parts = static_cast<FORMPAGE&>(dialog).Parts();
    STRING error;
    if (!parts.Programs.Start("notepad", STRING("\"") || dialog.ControlText(argument.Control) || "\"", ".", error))
        ShowError(dialog.hWnd, error, parts.Texts.Get(TEXT_TITLE));
    return value;
}

STRING PushWarnedEditor(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    const TEXTS& texts = static_cast<FORMPAGE&>(dialog).Parts().Texts;
    return AskYesNo(dialog.hWnd, texts.Get(TEXT_EDIT_FILE), texts.Get(TEXT_PRODUCT))
               ? PushEditor(value, argument, dialog)
               : value;
}

}  // namespace

std::vector<STRING> SplitParts(const STRING& text) {
    std::vector<STRING> parts;
    WORDCURSOR words(text, "|");
    for (std::string_view word; words.Next(word);)
        parts.emplace_back(word);
    return parts;
}

FORMPAGE::FORMPAGE(const DIALOGPARTS& parts, int page, STRINGARRAY& form, const LISTS& lists)
    : DATADIALOG(page, parts.Parent), Context(parts), Number(page), Form(form) {
    for (const FIELD& field : FieldsOf(page))
        Bind(field, lists);
    for (const NEEDED& need : AllNeeds())
        if (need.Page == page)
            Need(need);
}

void FORMPAGE::Bind(const FIELD& field, const LISTS& lists) {
    STRING& value = Form[field.Key];
    const auto list = [&] {
        const auto given = lists.find(field.Control);
        return given != lists.end() ? given->second
                                    : SplitParts(field.Low != 0 ? Context.Texts.Get(field.Low) : STRING(""));
    };
    switch (field.Kind) {
        case FIELDKIND::EDIT:
            Add<DATAEDIT>(field.Control, value, field.High);
            break;
        case FIELDKIND::NUMBER:
            Add<DATANUMBER>(field.Control, value, field.Low, field.High);
            break;
        case FIELDKIND::CHECK:
            Add<DATACHECK>(field.Control, value);
            break;
        case FIELDKIND::RADIO:
            Add<DATARADIO>(field.Control, value, field.Low);
            break;
        case FIELDKIND::LIST:
            Add<DATALIST>(field.Control, value, list());
            break;
        case FIELDKIND::TEXTLIST:
            Add<DATATEXTLIST>(field.Control, value, list());
            break;
        case FIELDKIND::COLOR:
        case FIELDKIND::FONT: {
            const bool font = field.Kind == FIELDKIND::FONT;
            auto push = std::make_unique<DATAPUSH>(field.Control, value, font ? PushFont : PushColor, PUSHARGUMENT{});
            if (font)
                Font = push.get();
            else
                Colors.push_back(push.get());
            AddPush(std::move(push));
            break;
        }
    }
}

void FORMPAGE::Need(const NEEDED& need) {
    const uint32_t mode = need.What == NEED::PROGRAM ? RULE_FILE_MISSING : RULE_CLEAR;
    for (const int target : {need.Control, LabelOf(need.Control), UnitOf(need.Control)})
        Disable(target, need.Source, mode);
}

void FORMPAGE::AddBrowse(int button, int edit, int kind, const char* pattern) {
    AddPush(button, PushFile, {edit, Context.Texts.Get(kind) || "|" || pattern});
}

void FORMPAGE::AddSound(int edit, int browse, int play, int check) {
    AddBrowse(browse, edit, TEXT_SOUND_FILES, "*.wav");
    AddPush(play, PushCheckedPlay, {edit, ""});
    for (const FIELD& field : FieldsOf(Number))
        if (field.Control == edit)
            Sounds.push_back({edit, check, &Form[field.Key]});
}

void FORMPAGE::AddOpen(int button, int edit, bool warns) {
    AddPush(button, warns ? PushWarnedEditor : PushEditor, {edit, ""});
}

STRING FORMPAGE::Complaint(int& control) const {
    for (const SOUND& sound : Sounds) {
        control = sound.Edit;
        const STRING file = ControlText(control);
        // A stored name may be good on another day, when its drive is there.
        if (file != *sound.Stored && BUTTON(hWnd, sound.Check).IsChecked() && !IsSoundFile(file))
            return NoSound(Context.Texts, file);
    }
    return Check ? Check(*this, control) : STRING();
}

STRING FORMPAGE::Tip(int control) const {
    return HelpOf(Context.Texts, Number, control);
}

void FORMPAGE::Load() {
    DATADIALOG::Load();
    if (Colors.size() < 2)
        return;
    SetControlText(ID_SAMPLE, Context.Texts.Get(TEXT_SAMPLE));
    ShowSample();
}

void FORMPAGE::Rescaled(SCALE before) {
    DATADIALOG::Rescaled(before);
    if (Colors.size() >= 2)
        ShowSample();
}

void FORMPAGE::ShowResult(const STRING& text) {
    SetControlText(ID_RESULT, text);
    NotifyWinEvent(EVENT_OBJECT_VALUECHANGE, GetDlgItem(hWnd, ID_RESULT), OBJID_CLIENT, CHILDID_SELF);
}

void FORMPAGE::ShowSample() {
    LOGFONTW font;
    if (Font && FontFromValue(Font->Current(), font)) {
        // Chosen in pixels of the system's scale.
        font.lfHeight = Scale().From(SCALE::System(), font.lfHeight);
        font.lfWidth = Scale().From(SCALE::System(), font.lfWidth);
        if (FONTHANDLE made(CreateFontIndirectW(&font)); made) {
            CONTROL(hWnd, ID_SAMPLE).SetFont(made.get());
            SampleFont = std::move(made);
        }
    }
    InvalidateRect(GetDlgItem(hWnd, ID_SAMPLE), nullptr, TRUE);
}

LRESULT FORMPAGE::WinProc(UINT message, WPARAM first, LPARAM second) {
    if (message == WM_CTLCOLORSTATIC && Colors.size() >= 2 &&
        reinterpret_cast<HWND>(second) == GetDlgItem(hWnd, ID_SAMPLE)) {
        const auto color = [this](size_t n) { return static_cast<COLORREF>(atoi(Colors[n]->Current())) & 0xffffff; };
        const HDC dc = reinterpret_cast<HDC>(first);
        SetTextColor(dc, color(1));
        SetBkColor(dc, color(0));
        SetDCBrushColor(dc, color(0));
        return reinterpret_cast<LRESULT>(GetStockObject(DC_BRUSH));
    }
    const LRESULT result = DATADIALOG::WinProc(message, first, second);
    if (message == WM_COMMAND && (HIWORD(first) == EN_CHANGE || HIWORD(first) == CBN_SELCHANGE) &&
        std::ranges::find(ResultFields, LOWORD(first)) != ResultFields.end() && ControlText(ID_RESULT).Length() > 0)
        ShowResult(STRING(""));
    if (message == WM_COMMAND && HIWORD(first) == BN_CLICKED && Colors.size() >= 2)
        ShowSample();
    return result;
}
