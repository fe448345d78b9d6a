#pragma once

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// The version that this program stores in the settings.
extern const char* const PROGRAM_VERSION;
/// Stands after the version wherever a person sees it.
inline constexpr const char* PROGRAM_VERSION_SUFFIX = "";

/// How a setting gets its value when the file does not have it.
enum class SETTINGKIND {
    FIXED,     // Default is the value
    NUMBERED,  // the text numbered TextId
    DATAFILE,  // the data directory and `\` and Default
    ALWAYS     // Default at every start, whatever the file says
};

/// Default is what the program did before it knew the key: it holds wherever a data directory of earlier runs lacks the
/// key. A data directory that a first start makes is written with InNewDirectory, what a user of today wants.
struct SETTING {
    const char* Key;
    const char* Default;
    SETTINGKIND Kind = SETTINGKIND::FIXED;
    int TextId = 0;
    const char* InNewDirectory = nullptr;  // null: the same; for FIXED alone
};

/// Every setting with its default, in the order in which they are filled in.
inline constexpr SETTING SETTINGS[] = {
    {"Version", "0.00"},
    {"ConnectionType", "-1"},
    {"ConnectionDunAny", "0"},
    {"ConnectionDunDial", "0"},
    {"EntryToMonitor", ""},
    {"DoHttpProxy", "0"},
    {"HttpProxy", ""},
    {"SplitRatio", "100"},
    {"SplitRatioDots", "0"},
    {"SpamFilterDisabled", "0"},
    {"LastSortColumn", "0"},
    {"LastSortOrder", "0"},
    {"LastInboxSortColumn", "0"},
    {"LastInboxSortOrder", "0"},
    {"LastSelectedRecord", "0"},
    {"LastInboxState", "0"},
    {"DlgCloseMinimize", "1"},
    {"DlgDblClickMode", "0"},
    {"DlgShiftClickMode", "5"},
    {"DlgCtrlClickMode", "0"},
    {"DlgStartMinimized", "0"},
    {"DlgHideToolbar", "0"},
    {"DlgAutoRun", "0"},
    {"DlgTaskbarClickReset", "1"},
    {"PopupTextColor", "0"},
    {"PopupBackgroundColor", "49407"},
    {"PopupFont", ""},
    {"PopupFontDots", "0"},
    {"PopupPosition", "1"},
    {"PopupDuration", "10"},
    {"PopupDoMailDetails", "1"},
    {"PopupMailDetails", "", SETTINGKIND::NUMBERED, TEXT_MAIL_LINE},
    {"PopupDoMailDetailsAll", "0"},
    {"PopupDoButtons", "1"},
    {"PopupLaterDelay", "15"},
    {"PopupTransparency", "0"},
    {"EmailDoSound", "1"},
    {"EmailDoSoundLoop", "0"},
    {"EmailSoundLoopRep", "60"},
    {"EmailCmdline", ""},
    {"EmailCmdlineNewMail", ""},
    {"EmailCmdlineInbox", ""},
    {"EmailDoWindowCheck", "0"},
    {"EmailWindowTitle", ""},
    {"EmailDoProgram", "0"},
    {"EmailDoConfirmProgram", "1"},
    {"EmailDoPopup", "1"},
    {"DesktopNotify", "0"},
    {"EmailDoBlink", "1"},
    {"EmailDoScrollBlink", "0"},
    {"EmailTaskbarUnread", "1"},
    {"InboxVisible", "1"},
    {"InboxAskApply", "1"},
    {"InboxAskApplyAuto", "1"},
    {"InboxAskRefresh", "1"},
    {"InboxHideToolbar", "0"},
    {"InboxDeleteToTrash", "1"},
    {"TrashcanHideToolbar", "0"},
    {"TrashcanVisible", "0"},
    {"SoundEmail", "jingling.wav"},
    {"SpamMyFriends", "myfriends.dat", SETTINGKIND::DATAFILE},
    {"SpamMyEmail", "me@example.org\r\nmy.name@example.net\r\nMy Name"},
    {"SpamMyInterests", "tarnwick; brackenhall\r\nferrule; dovetide\r\n[velmora-announce]\r\njoke\r\nebay"},
    {"SpamBadSenders", "badsenders.dat", SETTINGKIND::DATAFILE},
    {"SpamBadDynaWords", "merchant; credit card\r\nincome; APR\r\nBusiness Proposal"},
    {"SpamBadSubject", "afternic; bcentral"},
    {"SpamSmtp", ""},
    {"SpamSmtpTo", ""},
    {"SpamSmtpSecurity", "0"},
    {"SpamSmtpUser", ""},
    {"SpamSmtpPassword", ""},
    {"PasswordStore", "0", SETTINGKIND::FIXED, 0, "1"},
    {"SpamSmtpTrusted", ""},
    {"SpamDoIgnore", "1"},
    {"SpamIgnorePoints", "100"},
    {"SpamDoMark", "1"},
    {"SpamMarkPoints", "100"},
    {"SpamDoMove", "0"},
    {"SpamMovePoints", "180"},
    {"SpamDoTrash", "0"},
    {"SpamTrashPoints", "180"},
    {"SpamDoDelete", "0"},
    {"SpamDeletePoints", "500"},
    {"SpamDoDomain", "1"},
    {"SpamDomainExceptions", "example.com; example.net"},
    {"SpamDoVerify", "0"},
    {"SpamVerifyPoints", "50"},
    {"SpamMultiReicipients", "1"},
    {"SpamBccReceiver", "2"},
    {"SpamDistrLists", "0"},
    {"SpamHaveDistrLists", "1"},
    {"SpamFilename", "spamdef.dat", SETTINGKIND::DATAFILE},
    {"SpamVarsFile", "spamvars.dat", SETTINGKIND::DATAFILE},
    {"SpamMinWords", "3"},
    // Words are looked for: 0 in the lines of a mail as they came, 1 also in what a person reads of it.
    {"SpamDecode", "0", SETTINGKIND::FIXED, 0, "1"},
    // What the user does with mails teaches the filter, and what it has learnt counts: 0 no, 1 yes.
    {"SpamLearn", "0", SETTINGKIND::FIXED, 0, "1"},
    // A mail whose copy for the trash cannot be written: 0 deletes it all the same, 1 keeps it on the server.
    {"TrashKeepUncopied", "0", SETTINGKIND::FIXED, 0, "1"},
    // Marks that were set or taken by hand, when a new listing comes: 0 go, 1 stay.
    {"InboxKeepMarks", "0", SETTINGKIND::FIXED, 0, "1"},
    // Whoever leaves the Inbox or the Trashcan carries out: 0 all marks, 1 none if no mark was changed by hand there.
    {"InboxLeaveUntouched", "0", SETTINGKIND::FIXED, 0, "1"},
    {"ResetCounter", "0", SETTINGKIND::ALWAYS},
};

/// Gives every setting that `state` lacks its default, or its value for a new data directory. A setting that is there
/// with an empty value keeps it. Texts for people become UTF-8 if an earlier version has left them in code page 1252.
void FillSettingDefaults(STRINGARRAY& state, const TEXTS& texts, const char* dataDir, bool newDirectory);
