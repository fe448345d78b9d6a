#pragma once

#include <optional>
#include <string>
#include <vector>

#include "corelib/window/window.h"

/// A dialog made in memory instead of by the resource compiler. Its size is in dialog units; who shows it places the
/// controls.
class DIALOGTEMPLATE {
 public:
    DIALOGTEMPLATE(DWORD style, const STRING& title, int width, int height, const char* font, int points);
    /// className: a class, such as "EDIT" or "BUTTON".
    void Add(const char* className, DWORD style, const STRING& text, int id);
    const DLGTEMPLATE* Get() const;

 private:
    void Word(int value) { Words.push_back(static_cast<WORD>(value)); }
    void Long(DWORD value);
    void Text(const std::wstring& text);

    std::vector<WORD> Words;
};

/// A dialog, from a resource or a template in memory. A derived class fills its controls at WM_INITDIALOG (and returns
/// 1, or 0 if it has set the focus itself) and hands on to DIALOG::WinProc what it does not handle. OK and Cancel end a
/// modal dialog with their ids.
class DIALOG : public WINDOW {
 public:
    /// The dialog with that number of the resource module, in the system's font for texts.
    explicit DIALOG(int resource);
    explicit DIALOG(const DIALOGTEMPLATE& memory);
    ~DIALOG() override;

    /// Shows the dialog and waits for its end: what End was given, IDCANCEL if the program ends meanwhile, or -1 if it
    /// could not be made.
    int Run(HWND owner);
    /// Makes it without waiting, as a page of another dialog; it goes with this object. False if it could not be made.
    [[nodiscard]] bool Create(HWND parent);
    /// Ends Run.
    void End(int result);

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

 protected:
    /// Gives the controls that have the dialog's font a larger or smaller one, and all of them places that go with it,
    /// as the layout is in units of that font.
    void Rescaled(SCALE before) override;
    void TakePlace(const RECT& place) override;
    /// The size that the client area gets after Rescaled.
    SIZE NextSize() const { return ClientSize; }

 private:
    static INT_PTR CALLBACK DialogProcedure(HWND window, UINT message, WPARAM first, LPARAM second);

    std::vector<WORD> Words;  // of a resource
    const DLGTEMPLATE* Template = nullptr;
    // The font that the dialog was made with, and for which scale: sizes that go from step to step would drift.
    LOGFONTW FirstLook{};
    std::optional<SCALE> FirstScale;
    FONTHANDLE Font;  // the one in its place
    SIZE ClientSize{};
    bool Modal = false;
    bool Ended = false;    // by End
    bool Handled = false;  // of the message at hand
};

/// Replaces a dialog's window procedure for as long as the object lives. One at a time.
class DIALOGSUBCLASS {
 public:
    DIALOGSUBCLASS(HWND dialog, WNDPROC procedure);
    ~DIALOGSUBCLASS();
    DIALOGSUBCLASS(const DIALOGSUBCLASS&) = delete;
    DIALOGSUBCLASS& operator=(const DIALOGSUBCLASS&) = delete;
    /// For what the new procedure does not handle itself.
    static LRESULT Former(HWND dialog, UINT message, WPARAM first, LPARAM second);

 private:
    HWND Dialog;
};
