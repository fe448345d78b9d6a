#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "corelib/base/strings.h"
#include "corelib/window/gdi.h"

class DATADIALOG;

/// Binds a control of a dialog to a string, usually a value of a record; the string outlives the item. A control that
/// the dialog lacks is a failed assertion at Load, and the string then stays as it is. So does a string whose control
/// the user has left as it was: a dialog may be unable to show all that a value says.
class DATAITEM {
 public:
    DATAITEM(int control, STRING& value) : Control(control), Value(&value) {}
    virtual ~DATAITEM() = default;
    DATAITEM(const DATAITEM&) = delete;
    DATAITEM& operator=(const DATAITEM&) = delete;

    /// Copies the string into the control; and back.
    virtual void Load(DATADIALOG& dialog) = 0;
    virtual void Store(DATADIALOG& dialog) = 0;
    /// What is wrong with the control's content, as a text for the user; null if nothing is.
    virtual STRING Complaint(const DATADIALOG& /*dialog*/) const { return {}; }

    int ControlId() const { return Control; }

 protected:
    // Whether the control is there; if not, the assertion `text` fails, with the control's number.
    bool IsThere(HWND control, const char* text) const;
    // Gives the string a new text, or number, with its flags besides those that it has.
    void Put(const STRING& text);
    void PutNumber(int number);
    int Number() const { return atoi(*Value); }

    const int Control;
    STRING* const Value;
};

/// An edit field for at most `limit` characters; also that of a combo box, which offers what its dialog adds to it.
class DATAEDIT : public DATAITEM {
 public:
    DATAEDIT(int control, STRING& value, int limit) : DATAITEM(control, value), Limit(limit) {}
    void Load(DATADIALOG& dialog) override;
    void Store(DATADIALOG& dialog) override;

 private:
    const int Limit;
    STRING Shown;
};

/// An edit field for a number, to which it gives arrows. It complains of what is typed beyond the bounds, and never
/// stores it.
class DATANUMBER : public DATAITEM {
 public:
    DATANUMBER(int control, STRING& value, int minimum, int maximum)
        : DATAITEM(control, value), Minimum(minimum), Maximum(maximum) {}
    void Load(DATADIALOG& dialog) override;
    void Store(DATADIALOG& dialog) override;
    STRING Complaint(const DATADIALOG& dialog) const override;

 private:
    HWND MakeSpin(HWND dialog, HWND edit);
    bool IsIn(const STRING& text) const;

    const int Minimum;
    const int Maximum;
    int IdSpin = 0;
    STRING Shown;
};

/// A check box: of the whole number (0, anything else), or of one bit of it.
class DATACHECK : public DATAITEM {
 public:
    static constexpr int NO_BIT = -1;
    DATACHECK(int control, STRING& value, int bit = NO_BIT) : DATAITEM(control, value), Bit(bit) {}
    void Load(DATADIALOG& dialog) override;
    void Store(DATADIALOG& dialog) override;

 private:
    const int Bit;
    bool Shown = false;
};

/// One of several radio buttons that are bound to the same string: checked if that holds its number.
class DATARADIO : public DATAITEM {
 public:
    DATARADIO(int control, STRING& value, int number) : DATAITEM(control, value), Own(number) {}
    void Load(DATADIALOG& dialog) override;
    void Store(DATADIALOG& dialog) override;

 private:
    const int Own;
};

/// A list box or combo box, filled with the texts if there are any. The string holds the selected entry's index;
/// without a selection it stays as it is.
class DATALIST : public DATAITEM {
 public:
    DATALIST(int control, STRING& value, std::vector<STRING> texts = {})
        : DATAITEM(control, value), Texts(std::move(texts)) {}
    void Load(DATADIALOG& dialog) override;
    void Store(DATADIALOG& dialog) override;

 protected:
    const std::vector<STRING> Texts;
    int Shown = -1;
};

/// The same, with the selected entry's text in the string; it is found without regard to case.
class DATATEXTLIST : public DATALIST {
 public:
    using DATALIST::DATALIST;
    void Load(DATADIALOG& dialog) override;
    void Store(DATADIALOG& dialog) override;
};

/// What a push button's function works with besides the value.
struct PUSHARGUMENT {
    int Control = 0;  // an edit field of the dialog
    STRING Texts;     // for a file dialog: its filter
};
/// Takes the value that the button holds and gives back the new one.
using PUSHFUNCTION = STRING (*)(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);

/// A push button that changes a value by a function. The new value is held while the dialog is up and goes to the
/// string when the dialog stores.
class DATAPUSH : public DATAITEM {
 public:
    DATAPUSH(int control, STRING& value, PUSHFUNCTION function, PUSHARGUMENT argument)
        : DATAITEM(control, value), Held(value), Function(function), Argument(std::move(argument)) {}
    void Load(DATADIALOG& dialog) override;
    void Store(DATADIALOG& dialog) override;
    void Press(DATADIALOG& dialog);
    /// The value as it is in the dialog now.
    const STRING& Current() const { return Held; }

 private:
    static constexpr uint32_t MAGIC = 0x50555348;

    const uint32_t Magic = MAGIC;
    STRING Held;
    const PUSHFUNCTION Function;
    const PUSHARGUMENT Argument;
};
