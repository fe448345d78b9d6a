#pragma once

#include <span>

#include "app/common/texts.h"

// The dialogs of the settings, of accounts and of mail types as data: their numbers, and what each control is bound to.

inline constexpr int DIALOG_ITEM = 2030, PAGE_ITEM_GENERAL = 2031, PAGE_ITEM_MAILBOX = 2032, PAGE_ITEM_MORE = 2033;
inline constexpr int DIALOG_TYPES = 2041, DIALOG_TYPE = 2042;
inline constexpr int DIALOG_OPTIONS = 2009, PAGE_OPTIONS_PROGRAM = 2011, PAGE_OPTIONS_NOTICE = 2016,
                     PAGE_OPTIONS_POPUP = 2012, PAGE_OPTIONS_MAILPROGRAM = 2014, PAGE_OPTIONS_CONNECTION = 2015;
inline constexpr int DIALOG_SPAM = 2020, PAGE_SPAM_INTERESTS = 2021, PAGE_SPAM_WORDS = 2022, PAGE_SPAM_POINTS = 2023,
                     PAGE_SPAM_SENDING = 2024, PAGE_SPAM_SENDERS = 2025, PAGE_SPAM_RECIPIENTS = 2026,
                     PAGE_SPAM_FILES = 2027;
inline constexpr int DIALOG_DATADIR = 2049, DIALOG_TIP = 2050;
inline constexpr int DIALOG_SETUP = 2070, PAGE_SETUP_CONNECTION = 2071, PAGE_SETUP_ACCOUNT = 2072,
                     PAGE_SETUP_USER = 2073, PAGE_SETUP_HABITS = 2074, PAGE_SETUP_LISTS = 2075,
                     PAGE_SETUP_SENDING = 2076, PAGE_SETUP_END = 2077;

/// The control with the words for another one, where it does not have its own.
constexpr int LabelOf(int control) {
    return control + 400;
}

/// The control with the words after another one, such as its unit.
constexpr int UnitOf(int control) {
    return control + 600;
}

enum class FIELDKIND {
    EDIT,      // High: the limit in characters
    NUMBER,    // Low to High
    CHECK,     //
    RADIO,     // Low: its number
    LIST,      // Low: the text whose parts it offers, 0 if the dialog knows
    TEXTLIST,  // the dialog knows what it offers
    COLOR,     // buttons for these two
    FONT
};

/// A control that is bound to a key.
struct FIELD {
    int Page;
    int Control;
    FIELDKIND Kind;
    /// Of the settings, an item or a mail type. What stands after a "." is a part that only the dialog has.
    const char* Key;
    int Low = 0;
    int High = 0;
};

/// What a control needs of another one to be possible: its mark, a text, or the name of a file that is there.
enum class NEED { MARK, ENTRY, PROGRAM };
struct NEEDED {
    int Page;
    int Control;
    NEED What;
    int Source;  // on the same page
};

/// Those of the settings, accounts and types.
std::span<const FIELD> AllFields();
std::span<const NEEDED> AllNeeds();
/// Also of the setup wizard's pages.
std::span<const FIELD> FieldsOf(int page);

/// Whether a field's key names a part that only the dialog has.
bool IsPart(const char* key);

/// What a person has entered, without blanks around it.
STRING Stripped(STRING text, const char* blanks = " \t");

/// What is wrong with an entry that must not be empty, nor have a bar unless it may, as the number of a text; 0 if
/// nothing is.
int EntryFault(const STRING& text, int emptyText, bool mayHaveBar = false);
/// The same of a server, which may have a port after a colon or a blank: a number, or the name of a service.
int ServerFault(const STRING& text);

/// What a control is for; null for one that needs no words.
STRING HelpOf(const TEXTS& texts, int page, int control);
