#pragma once

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include "corelib/window/dataitems.h"
#include "corelib/window/datarules.h"
#include "corelib/window/dialog.h"

class DATAPAGES;

/// A dialog that is declared and not programmed: its items bind controls to strings, and its rules say which controls
/// are disabled or hidden by the state of others. OK stores what the user has changed; Cancel leaves every string as it
/// was.
class DATADIALOG : public DIALOG {
 public:
    /// Sees WM_COMMAND and WM_NOTIFY once the controls are filled: true if the message ends there.
    using HOOK = bool (*)(DATADIALOG& dialog, UINT message, WPARAM first, LPARAM second, void* argument);

    /// The dialog with that number of the resource module; parent: the window that waits for it, or null.
    DATADIALOG(int resource, HWND parent);
    ~DATADIALOG() override;
    DATADIALOG(const DATADIALOG&) = delete;
    DATADIALOG& operator=(const DATADIALOG&) = delete;

    /// Before the dialog runs.
    void Add(std::unique_ptr<DATAITEM> item) { Items.push_back(std::move(item)); }
    template <class ITEM, class... ARGUMENTS>
    void Add(int control, STRING& value, ARGUMENTS&&... arguments) {
        Add(std::make_unique<ITEM>(control, value, std::forward<ARGUMENTS>(arguments)...));
    }
    /// At most 64.
    void AddPush(std::unique_ptr<DATAPUSH> item);
    void AddPush(int control, STRING& value, PUSHFUNCTION function, PUSHARGUMENT argument = {}) {
        AddPush(std::make_unique<DATAPUSH>(control, value, function, std::move(argument)));
    }
    /// A button whose function works on other controls only.
    void AddPush(int control, PUSHFUNCTION function, PUSHARGUMENT argument) {
        AddPush(control, NoValue, function, std::move(argument));
    }

    /// Rules, at most 64 for the targets in one dialog: the target is disabled (with RULE_HIDES hidden) while the
    /// source's answer to the question in mode is yes. Of several rules for one target, one yes is enough. The source,
    /// or both, may be in another page of the same DATAPAGES.
    void Disable(int target, int source, uint32_t mode, const STRING& compare = STRING());
    void Disable(int target, DATADIALOG& sourceParent, int source, uint32_t mode, const STRING& compare = STRING());
    void Disable(DATADIALOG& targetParent, int target, DATADIALOG& sourceParent, int source, uint32_t mode,
                 const STRING& compare = STRING());
    /// The control is disabled, or hidden, as long as the dialog is up, whatever rules say. Before it runs.
    void Withdraw(int control, bool hides) { Withdrawn.push_back({control, hides}); }
    void SetHook(HOOK function, void* argument);

    /// Shows the dialog and waits for its end: true if it has stored.
    virtual bool Run();

    /// The text of a control; and setting it.
    STRING ControlText(int control) const;
    void SetControlText(int control, const STRING& text);

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

 protected:
    /// What is wrong with the content of the controls, as a text for the user, and in which control; a null text if all
    /// is well. Asked before OK stores, and a complaint leaves the dialog open.
    virtual STRING Complaint(int& control) const;
    /// What a control is for, as a text that shows when the mouse rests on it; empty for none. Asked once.
    virtual STRING Tip(int control) const;

    // All items, and those of the pages if there are any.
    void Rescaled(SCALE before) override;
    virtual void Load();
    virtual void Store();
    virtual void ApplyRules();
    /// A control of this dialog, or of its page `parent`, has changed.
    virtual void SourceChanged(DATADIALOG& parent, HWND control);
    /// Asks for complaints, and shows one.
    virtual bool IsAcceptable();

 private:
    friend class DATAPAGES;
    friend class WIZARD;
    struct RULE {
        int Target;
        DATADIALOG* SourceParent;
        int Source;
        uint32_t Mode;
        STRING Compare;
    };

    // The window that the user sees as the dialog.
    DATADIALOG& Top();
    void MakeTips();
    STRING FirstComplaint(int& control) const;
    void AddRule(const RULE& rule);
    bool IsDisabled(const RULE& rule) const;
    void Apply(const RULE& rule);
    void SetState(HWND target, bool hides, bool value);
    bool PressItem(int control);
    bool OnCommand(int control, int code, HWND window);

    std::vector<std::unique_ptr<DATAITEM>> Items;
    std::array<DATAPUSH*, 64> PushItems{};
    size_t Howmany = 0;
    static constexpr size_t Max = 64;
    std::vector<std::pair<int, bool>> Withdrawn;  // controls, with whether they are hidden
    std::array<RULE, 64> DisableItems{};
    size_t DisableItemCount = 0;
    HOOK UserHook = nullptr;
    void* UserArgument = nullptr;
    HWND Waiting;
    HWND Tips = nullptr;
    DATAPAGES* Frame = nullptr;  // of a page
    bool Filled = false;         // the controls are; before that, their changes mean nothing
    STRING NoValue;
};
