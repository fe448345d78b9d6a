#pragma once

#include <functional>
#include <map>
#include <vector>

#include "app/common/texts.h"
#include "app/dialogs/fields.h"
#include "corelib/base/stringarray.h"
#include "corelib/window/datapages.h"

class MAPISTORE;
class PROGRAMSTARTER;

/// The parts of a text that are split by "|".
std::vector<STRING> SplitParts(const STRING& text);

/// The tab control of dialogs with pages.
inline constexpr int ID_TABS = 300;
/// Where a page tells what a button's work has come to.
inline constexpr int ID_RESULT = 290;

/// What dialogs of the program need: the window that waits, or null; texts, and the start of programs. All of it
/// outlives the dialog.
struct DIALOGPARTS {
    HWND Parent;
    const TEXTS& Texts;
    PROGRAMSTARTER& Programs;
    MAPISTORE* Mapi = nullptr;  // the program's session, where accounts of it can be made
};

/// A page of a dialog, or a dialog of one page, as the tables of fields and needs describe it, over a form: a table
/// with all of its keys, which outlives the page. Shows words on each control, and the colours that the user has
/// chosen.
class FORMPAGE : public DATADIALOG {
 public:
    using LISTS = std::map<int, std::vector<STRING>>;

    /// lists: what lists offer of which the tables do not tell.
    FORMPAGE(const DIALOGPARTS& parts, int page, STRINGARRAY& form, const LISTS& lists = {});

    /// A button that calls a member function of the page's own class.
    template <class PAGE, void (PAGE::*ACTION)()>
    void AddAction(int button) {
        AddPush(button,
                [](const STRING& value, const PUSHARGUMENT&, DATADIALOG& dialog) {
                    (static_cast<PAGE&>(dialog).*ACTION)();
                    return value;
                },
                {});
    }
    /// A button that chooses the file of an edit field: `kind` names its kind for a person, such as TEXT_DATA_FILES.
    void AddBrowse(int button, int edit, int kind, const char* pattern);
    /// The file of an edit field is a sound: buttons that choose and play it, and the check box without which it does
    /// not matter.
    void AddSound(int edit, int browse, int play, int check);
    /// A button that opens the file of an edit field in an editor, with a warning or without.
    void AddOpen(int button, int edit, bool warns);
    /// Says what is wrong (see Complaint).
    using CHECK = std::function<STRING(const FORMPAGE&, int& control)>;
    void SetCheck(CHECK check) { Check = std::move(check); }

    const DIALOGPARTS& Parts() const { return Context; }
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

 protected:
    STRING Complaint(int& control) const override;
    STRING Tip(int control) const override;
    void Load() override;
    /// At ID_RESULT.
    void ShowResult(const STRING& text);
    /// What ShowResult tells is about these fields: it goes as soon as the user changes one.
    void SetResultFields(std::vector<int> fields) { ResultFields = std::move(fields); }

 private:
    struct SOUND {
        int Edit, Check;
        STRING* Stored;
    };
    void Bind(const FIELD& field, const LISTS& lists);
    void Need(const NEEDED& need);
    void Rescaled(SCALE before) override;
    void ShowSample();

    const DIALOGPARTS Context;
    const int Number;
    STRINGARRAY& Form;
    CHECK Check;
    std::vector<SOUND> Sounds;
    std::vector<const DATAPUSH*> Colors;  // background and text
    const DATAPUSH* Font = nullptr;
    std::vector<int> ResultFields;
    FONTHANDLE SampleFont;
};

/// A dialog with pages, each of which is given at most once.
class FORMDIALOG : public DATAPAGES {
 public:
    FORMDIALOG(const DIALOGPARTS& parts, int dialog) : DATAPAGES(dialog, parts.Parent, ID_TABS) {}
    /// Stands after the title that the dialog has. Before the dialog runs.
    void SetTitleEnd(const STRING& end) { TitleEnd = end; }
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_INITDIALOG && TitleEnd.Length() > 0)
            SetTitle(Title() || TitleEnd);
        return DATAPAGES::WinProc(message, first, second);
    }
    /// The page comes back.
    template <class PAGE>
    PAGE& AddForm(const STRING& title, std::unique_ptr<PAGE> page) {
        PAGE& added = *page;
        AddPage(title, std::move(page));
        return added;
    }

 private:
    STRING TitleEnd;
};
