#include "app/dialogs/fields.h"

#include <algorithm>
#include <cstring>

#include "corelib/base/ascii.h"

namespace {

using enum FIELDKIND;

constexpr int MAX_PATH_TEXT = 128, MAX_LIST_PATH = 96, MAX_LIST_TEXT = 4096, MAX_POINTS = 9999, MAX_SECONDS = 86400;

// By page.
constexpr FIELD FIELDS[] = {
    {PAGE_ITEM_GENERAL, 201, EDIT, "Name", 0, 64},
    {PAGE_ITEM_GENERAL, 202, NUMBER, "TimingCyclic.Minutes", 0, 1440},
    {PAGE_ITEM_GENERAL, 203, NUMBER, "TimingCyclic.Seconds", 0, 59},
    {PAGE_ITEM_GENERAL, 243, CHECK, "DoPopup"},
    {PAGE_ITEM_GENERAL, 101, COLOR, "PopupBackgroundColor"},
    {PAGE_ITEM_GENERAL, 103, COLOR, "PopupTextColor"},

    {PAGE_ITEM_MAILBOX, 401, LIST, "Type.Kind"},
    {PAGE_ITEM_MAILBOX, 402, LIST, "Security", TEXT_SECURITIES},
    {PAGE_ITEM_MAILBOX, 204, EDIT, "Source.Server", 0, 64},
    {PAGE_ITEM_MAILBOX, 205, EDIT, "Source.User", 0, 64},
    {PAGE_ITEM_MAILBOX, 206, EDIT, "Source2", 0, 32},
    {PAGE_ITEM_MAILBOX, 208, EDIT, "TrustedCertificate", 0, 95},
    {PAGE_ITEM_MAILBOX, 247, CHECK, "DoAltFolder"},
    {PAGE_ITEM_MAILBOX, 207, EDIT, "AltFolder", 0, 64},
    {PAGE_ITEM_MAILBOX, 248, CHECK, "Push"},
    {PAGE_ITEM_MAILBOX, 241, CHECK, "DownloadMailTexts"},

    {PAGE_ITEM_MORE, 241, CHECK, "TrayCheck"},
    {PAGE_ITEM_MORE, 242, CHECK, "DoSpecialMailProgram"},
    {PAGE_ITEM_MORE, 204, EDIT, "SpecialMailProgram", 0, MAX_PATH_TEXT},
    {PAGE_ITEM_MORE, 249, CHECK, "DoSpamFilter"},
    {PAGE_ITEM_MORE, 243, CHECK, "DoSpamMove"},
    {PAGE_ITEM_MORE, 203, EDIT, "SpamFolder", 0, 64},

    {DIALOG_TYPE, 201, EDIT, "Name", 0, MAX_PATH_TEXT},
    {DIALOG_TYPE, 202, EDIT, "Keywords", 0, MAX_PATH_TEXT},
    {DIALOG_TYPE, 241, CHECK, "DoHeader"},
    {DIALOG_TYPE, 242, CHECK, "DoBody"},
    {DIALOG_TYPE, 246, CHECK, "DoImportance"},
    {DIALOG_TYPE, 247, CHECK, "DoSpam"},
    {DIALOG_TYPE, 207, NUMBER, "SpamPoints", 1, 10000},
    {DIALOG_TYPE, 245, CHECK, "DoPopup"},
    {DIALOG_TYPE, 243, CHECK, "DoColor"},
    {DIALOG_TYPE, 103, COLOR, "Color"},
    {DIALOG_TYPE, 105, COLOR, "TextColor"},
    {DIALOG_TYPE, 244, CHECK, "DoSound"},
    {DIALOG_TYPE, 204, EDIT, "SoundFile", 0, MAX_PATH_TEXT},

    {PAGE_OPTIONS_PROGRAM, 401, LIST, "DlgDblClickMode", TEXT_DOUBLE_CLICKS},
    {PAGE_OPTIONS_PROGRAM, 402, LIST, "DlgShiftClickMode", TEXT_CLICKS},
    {PAGE_OPTIONS_PROGRAM, 403, LIST, "DlgCtrlClickMode", TEXT_CLICKS},
    {PAGE_OPTIONS_PROGRAM, 246, CHECK, "DlgHideToolbar"},
    {PAGE_OPTIONS_PROGRAM, 247, CHECK, "DlgCloseMinimize"},
    {PAGE_OPTIONS_PROGRAM, 241, CHECK, "DlgStartMinimized"},
    {PAGE_OPTIONS_PROGRAM, 244, CHECK, "DlgAutoRun"},
    {PAGE_OPTIONS_PROGRAM, 249, CHECK, "DlgTaskbarClickReset"},
    {PAGE_OPTIONS_PROGRAM, 242, CHECK, "InboxAskApply"},
    {PAGE_OPTIONS_PROGRAM, 248, CHECK, "InboxAskApplyAuto"},
    {PAGE_OPTIONS_PROGRAM, 243, CHECK, "InboxAskRefresh"},
    {PAGE_OPTIONS_PROGRAM, 245, CHECK, "InboxHideToolbar"},

    {PAGE_OPTIONS_POPUP, 402, LIST, "PopupPosition", TEXT_POSITIONS},
    {PAGE_OPTIONS_POPUP, 101, COLOR, "PopupBackgroundColor"},
    {PAGE_OPTIONS_POPUP, 102, COLOR, "PopupTextColor"},
    {PAGE_OPTIONS_POPUP, 103, FONT, "PopupFont"},
    {PAGE_OPTIONS_POPUP, 203, NUMBER, "PopupDuration", 0, 9999},
    {PAGE_OPTIONS_POPUP, 241, CHECK, "PopupDoMailDetails"},
    {PAGE_OPTIONS_POPUP, 201, EDIT, "PopupMailDetails", 0, 2048},
    {PAGE_OPTIONS_POPUP, 401, LIST, "PopupDoMailDetailsAll", TEXT_LISTED_MAILS},
    {PAGE_OPTIONS_POPUP, 242, CHECK, "PopupDoButtons"},
    {PAGE_OPTIONS_POPUP, 202, NUMBER, "PopupLaterDelay", 1, 60},

    {PAGE_OPTIONS_MAILPROGRAM, 202, EDIT, "EmailCmdline", 0, MAX_PATH_TEXT},
    {PAGE_OPTIONS_MAILPROGRAM, 201, EDIT, "EmailCmdlineNewMail", 0, MAX_PATH_TEXT},
    {PAGE_OPTIONS_MAILPROGRAM, 204, EDIT, "EmailCmdlineInbox", 0, MAX_PATH_TEXT},
    {PAGE_OPTIONS_MAILPROGRAM, 203, EDIT, "EmailWindowTitle", 0, MAX_PATH_TEXT},
    {PAGE_OPTIONS_MAILPROGRAM, 243, CHECK, "EmailDoProgram"},
    {PAGE_OPTIONS_MAILPROGRAM, 245, CHECK, "EmailDoConfirmProgram"},
    {PAGE_OPTIONS_MAILPROGRAM, 246, CHECK, "EmailDoWindowCheck"},

    {PAGE_OPTIONS_CONNECTION, 221, RADIO, "ConnectionType", 0},
    {PAGE_OPTIONS_CONNECTION, 222, RADIO, "ConnectionType", 1},
    {PAGE_OPTIONS_CONNECTION, 225, RADIO, "ConnectionDunAny", 1},
    {PAGE_OPTIONS_CONNECTION, 226, RADIO, "ConnectionDunAny", 0},
    {PAGE_OPTIONS_CONNECTION, 401, TEXTLIST, "EntryToMonitor"},
    {PAGE_OPTIONS_CONNECTION, 242, CHECK, "ConnectionDunDial"},
    {PAGE_OPTIONS_CONNECTION, 241, CHECK, "DoHttpProxy"},
    {PAGE_OPTIONS_CONNECTION, 201, EDIT, "HttpProxy", 0, 255},

    {PAGE_OPTIONS_NOTICE, 244, CHECK, "EmailDoPopup"},
    {PAGE_OPTIONS_NOTICE, 249, CHECK, "EmailDoBlink"},
    {PAGE_OPTIONS_NOTICE, 245, CHECK, "EmailDoScrollBlink"},
    {PAGE_OPTIONS_NOTICE, 250, CHECK, "EmailTaskbarUnread"},
    {PAGE_OPTIONS_NOTICE, 241, CHECK, "EmailDoSound"},
    {PAGE_OPTIONS_NOTICE, 204, EDIT, "SoundEmail", 0, MAX_PATH_TEXT},
    {PAGE_OPTIONS_NOTICE, 248, CHECK, "EmailDoSoundLoop"},
    {PAGE_OPTIONS_NOTICE, 208, NUMBER, "EmailSoundLoopRep", 0, 600},

    {PAGE_SPAM_POINTS, 245, CHECK, "SpamDoIgnore"},
    {PAGE_SPAM_POINTS, 205, NUMBER, "SpamIgnorePoints", 0, MAX_POINTS},
    {PAGE_SPAM_POINTS, 244, CHECK, "SpamDoMark"},
    {PAGE_SPAM_POINTS, 204, NUMBER, "SpamMarkPoints", 0, MAX_POINTS},
    {PAGE_SPAM_POINTS, 241, CHECK, "SpamDoTrash"},
    {PAGE_SPAM_POINTS, 201, NUMBER, "SpamTrashPoints", 0, MAX_POINTS},
    {PAGE_SPAM_POINTS, 242, CHECK, "SpamDoMove"},
    {PAGE_SPAM_POINTS, 202, NUMBER, "SpamMovePoints", 0, MAX_POINTS},
    {PAGE_SPAM_POINTS, 243, CHECK, "SpamDoDelete"},
    {PAGE_SPAM_POINTS, 203, NUMBER, "SpamDeletePoints", 0, MAX_POINTS},

    {PAGE_SPAM_WORDS, 202, EDIT, "SpamBadDynaWords", 0, MAX_LIST_TEXT},
    {PAGE_SPAM_WORDS, 204, EDIT, "SpamBadSubject", 0, MAX_LIST_TEXT},
    {PAGE_SPAM_WORDS, 205, EDIT, "SpamBadSenders", 0, MAX_LIST_PATH},

    {PAGE_SPAM_INTERESTS, 204, EDIT, "SpamMyInterests", 0, MAX_LIST_TEXT},
    {PAGE_SPAM_INTERESTS, 201, EDIT, "SpamMyFriends", 0, MAX_LIST_PATH},

    {PAGE_SPAM_RECIPIENTS, 202, EDIT, "SpamMyEmail", 0, MAX_LIST_TEXT},
    {PAGE_SPAM_RECIPIENTS, 401, LIST, "SpamMultiReicipients", TEXT_RECIPIENT_WEIGHTS},
    {PAGE_SPAM_RECIPIENTS, 402, LIST, "SpamBccReceiver", TEXT_RECIPIENT_WEIGHTS},
    {PAGE_SPAM_RECIPIENTS, 241, CHECK, "SpamHaveDistrLists"},
    {PAGE_SPAM_RECIPIENTS, 403, LIST, "SpamDistrLists", TEXT_LIST_WEIGHTS},

    {PAGE_SPAM_SENDERS, 246, CHECK, "SpamDoDomain"},
    {PAGE_SPAM_SENDERS, 204, EDIT, "SpamDomainExceptions", 0, MAX_LIST_TEXT},
    {PAGE_SPAM_SENDERS, 242, CHECK, "SpamDoVerify"},
    {PAGE_SPAM_SENDERS, 202, NUMBER, "SpamVerifyPoints", 0, MAX_POINTS},

    {PAGE_SPAM_FILES, 202, EDIT, "SpamFilename", 0, MAX_LIST_PATH},
    {PAGE_SPAM_FILES, 203, EDIT, "SpamVarsFile", 0, MAX_LIST_PATH},
    {PAGE_SPAM_FILES, 210, NUMBER, "SpamMinWords", 1, 100},
    {PAGE_SPAM_FILES, 241, CHECK, "SpamDecode"},
    {PAGE_SPAM_FILES, 242, CHECK, "SpamLearn"},

    {PAGE_SPAM_SENDING, 202, EDIT, "SpamSmtp", 0, MAX_LIST_PATH},
    {PAGE_SPAM_SENDING, 401, LIST, "SpamSmtpSecurity", TEXT_SECURITIES},
    {PAGE_SPAM_SENDING, 208, EDIT, "SpamSmtpUser", 0, MAX_LIST_PATH},
    {PAGE_SPAM_SENDING, 209, EDIT, "SpamSmtpPassword", 0, MAX_LIST_PATH},
    {PAGE_SPAM_SENDING, 203, EDIT, "SpamSmtpTo", 0, MAX_LIST_PATH},
    {PAGE_SPAM_SENDING, 207, EDIT, "SpamMyFriends", 0, MAX_LIST_PATH},
    {PAGE_SPAM_SENDING, 205, EDIT, "SpamBadSenders", 0, MAX_LIST_PATH},

    {DIALOG_DATADIR, 201, EDIT, "ApplicationDataDir", 0, 256},
};

constexpr NEEDED NEEDS[] = {
    {PAGE_ITEM_GENERAL, 101, NEED::MARK, 243},
    {PAGE_ITEM_GENERAL, 103, NEED::MARK, 243},
    {PAGE_ITEM_MAILBOX, 207, NEED::MARK, 247},
    {PAGE_ITEM_MORE, 204, NEED::MARK, 242},
    {PAGE_ITEM_MORE, 102, NEED::MARK, 242},
    {PAGE_ITEM_MORE, 243, NEED::MARK, 249},
    {PAGE_ITEM_MORE, 203, NEED::MARK, 243},
    {PAGE_ITEM_MORE, 203, NEED::MARK, 249},

    {DIALOG_TYPE, 207, NEED::MARK, 247},
    {DIALOG_TYPE, 243, NEED::MARK, 245},
    {DIALOG_TYPE, 103, NEED::MARK, 243},
    {DIALOG_TYPE, 103, NEED::MARK, 245},
    {DIALOG_TYPE, 105, NEED::MARK, 243},
    {DIALOG_TYPE, 105, NEED::MARK, 245},
    {DIALOG_TYPE, 204, NEED::MARK, 244},
    {DIALOG_TYPE, 104, NEED::MARK, 244},
    {DIALOG_TYPE, 114, NEED::MARK, 244},

    {PAGE_OPTIONS_POPUP, 201, NEED::MARK, 241},
    {PAGE_OPTIONS_POPUP, 202, NEED::MARK, 242},

    {PAGE_OPTIONS_MAILPROGRAM, 203, NEED::ENTRY, 202},
    {PAGE_OPTIONS_MAILPROGRAM, 243, NEED::PROGRAM, 202},
    {PAGE_OPTIONS_MAILPROGRAM, 245, NEED::PROGRAM, 202},
    {PAGE_OPTIONS_MAILPROGRAM, 245, NEED::MARK, 243},
    {PAGE_OPTIONS_MAILPROGRAM, 246, NEED::PROGRAM, 202},

    {PAGE_OPTIONS_CONNECTION, 225, NEED::MARK, 222},
    {PAGE_OPTIONS_CONNECTION, 226, NEED::MARK, 222},
    {PAGE_OPTIONS_CONNECTION, 401, NEED::MARK, 222},
    {PAGE_OPTIONS_CONNECTION, 401, NEED::MARK, 226},
    {PAGE_OPTIONS_CONNECTION, 242, NEED::MARK, 222},
    {PAGE_OPTIONS_CONNECTION, 242, NEED::MARK, 226},
    {PAGE_OPTIONS_CONNECTION, 201, NEED::MARK, 241},

    {PAGE_OPTIONS_NOTICE, 204, NEED::MARK, 241},
    {PAGE_OPTIONS_NOTICE, 104, NEED::MARK, 241},
    {PAGE_OPTIONS_NOTICE, 114, NEED::MARK, 241},
    {PAGE_OPTIONS_NOTICE, 248, NEED::MARK, 241},
    {PAGE_OPTIONS_NOTICE, 208, NEED::MARK, 241},
    {PAGE_OPTIONS_NOTICE, 208, NEED::MARK, 248},

    {PAGE_SPAM_POINTS, 205, NEED::MARK, 245},
    {PAGE_SPAM_POINTS, 204, NEED::MARK, 244},
    {PAGE_SPAM_POINTS, 201, NEED::MARK, 241},
    {PAGE_SPAM_POINTS, 202, NEED::MARK, 242},
    {PAGE_SPAM_POINTS, 203, NEED::MARK, 243},

    {PAGE_SPAM_RECIPIENTS, 403, NEED::MARK, 241},

    {PAGE_SPAM_SENDERS, 242, NEED::MARK, 246},
    {PAGE_SPAM_SENDERS, 204, NEED::MARK, 246},
    {PAGE_SPAM_SENDERS, 204, NEED::MARK, 242},
    {PAGE_SPAM_SENDERS, 202, NEED::MARK, 246},
    {PAGE_SPAM_SENDERS, 202, NEED::MARK, 242},
};

/// The wizard's, whose settings the dialogs have as well.
constexpr FIELD SETUP_FIELDS[] = {
    {PAGE_SETUP_CONNECTION, 221, RADIO, "ConnectionType", 0},
    {PAGE_SETUP_CONNECTION, 222, RADIO, "ConnectionType", 1},
    {PAGE_SETUP_CONNECTION, 401, TEXTLIST, "EntryToMonitor"},
    {PAGE_SETUP_CONNECTION, 207, EDIT, "EmailCmdline", 0, MAX_PATH_TEXT},

    {PAGE_SETUP_ACCOUNT, 221, RADIO, "Type", 1},
    {PAGE_SETUP_ACCOUNT, 222, RADIO, "Type", 2},
    {PAGE_SETUP_ACCOUNT, 223, RADIO, "Type", 3},
    {PAGE_SETUP_ACCOUNT, 226, RADIO, "Type", 0},
    {PAGE_SETUP_ACCOUNT, 401, LIST, "Security", TEXT_SECURITIES},
    {PAGE_SETUP_ACCOUNT, 201, EDIT, "Source.Server", 0, 64},
    {PAGE_SETUP_ACCOUNT, 202, EDIT, "Source.User", 0, 64},
    {PAGE_SETUP_ACCOUNT, 203, EDIT, "Source2", 0, 64},
    {PAGE_SETUP_ACCOUNT, 204, NUMBER, "TimingCyclic", 0, MAX_SECONDS},

    {PAGE_SETUP_USER, 201, EDIT, "SpamMyEmail.Name", 0, 96},
    {PAGE_SETUP_USER, 202, EDIT, "SpamMyEmail.Addresses", 0, 96},

    {PAGE_SETUP_SENDING, 201, EDIT, "SpamSmtp", 0, 96},
    {PAGE_SETUP_SENDING, 202, EDIT, "SpamSmtpTo", 0, 96},
    {PAGE_SETUP_SENDING, 401, LIST, "SpamSmtpSecurity", TEXT_SECURITIES},
    {PAGE_SETUP_SENDING, 203, EDIT, "SpamSmtpUser", 0, 96},
    {PAGE_SETUP_SENDING, 204, EDIT, "SpamSmtpPassword", 0, 96},

    {PAGE_SETUP_HABITS, 401, LIST, "SpamMultiReicipients", TEXT_RECIPIENT_WEIGHTS},
    {PAGE_SETUP_HABITS, 241, CHECK, "SpamHaveDistrLists"},

    {PAGE_SETUP_LISTS, 201, EDIT, "SpamMyInterests.Lists", 0, 512},
    {PAGE_SETUP_LISTS, 403, LIST, "SpamDistrLists", TEXT_LIST_WEIGHTS},
};

std::span<const FIELD> PartOf(std::span<const FIELD> fields, int page) {
    const auto first = std::ranges::find(fields, page, &FIELD::Page);
    const auto end = std::find_if(first, fields.end(), [page](const FIELD& field) { return field.Page != page; });
    return {first, end};
}

}  // namespace

std::span<const FIELD> AllFields() {
    return FIELDS;
}

std::span<const NEEDED> AllNeeds() {
    return NEEDS;
}

std::span<const FIELD> FieldsOf(int page) {
    const std::span<const FIELD> found = PartOf(FIELDS, page);
    return found.empty() ? PartOf(SETUP_FIELDS, page) : found;
}

bool IsPart(const char* key) {
    return strchr(key, '.') != nullptr;
}

STRING Stripped(STRING text, const char* blanks) {
    text.Strip('B', blanks);
    return text;
}

int EntryFault(const STRING& text, int emptyText, bool mayHaveBar) {
    if (Stripped(text).Length() == 0)
        return emptyText;
    // It splits server and user in the record.
    return !mayHaveBar && text.Pos('|') != -1 ? TEXT_BAR : 0;
}

int ServerFault(const STRING& text) {
    constexpr int PORT_MAX = 65535;
    const STRING server = Stripped(text);
    const size_t end = server.View().find_first_of(": ");
    const int fault = EntryFault(server.Left(static_cast<int>(std::min(end, server.View().size()))), TEXT_NO_SERVER);
    if (fault != 0 || end == std::string_view::npos)
        return fault;
    const std::string_view port = ASCII::TrimLeft(server.View().substr(end), ": ");
    int number = 0;
    const bool good = (!port.empty() && ASCII::IsLetter(port.front())) ||
                      (ASCII::ReadNumber(port, number) && number > 0 && number <= PORT_MAX);
    return good ? EntryFault(server, 0) : TEXT_BAD_SERVER_PORT;
}

STRING HelpOf(const TEXTS& texts, int page, int control) {
    switch (const int id = HELP_TEXT(page, control)) {
#define TW_HELP(page, control, text) case HELP_TEXT(page, control):
#include "resources/english/help.inc"
#undef TW_HELP
        return texts.Get(id);
        default:
            return {};
    }
}
