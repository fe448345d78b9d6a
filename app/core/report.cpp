#include "app/core/report.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "app/check/persontext.h"
#include "app/common/texts.h"
#include "app/core/arguments.h"
#include "app/core/datadir.h"
#include "app/core/redaction.h"
#include "app/core/settings.h"
#include "app/core/tarnwick.h"
#include "app/core/tracelines.h"
#include "app/core/velmoraapp.h"
#include "app/filter/learning.h"
#include "app/mailbox/account.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"

namespace {

// How a report begins, in every language: so one is known that may be written over.
constexpr std::string_view MARK = "--- Tarnwick: report ---";
constexpr size_t TRACE_LINES = 500;
constexpr size_t TRACE_BYTES = size_t{256} * 1024;
// Most lines of a full log are dumps, which are not shown.
constexpr int LOG_BYTES = 4 * 1024 * 1024;
constexpr int FAULT_BYTES = 64 * 1024;
constexpr int LIST_BYTES = 16 * 1024 * 1024;
constexpr const char *LEFT_OUT = "<left out>", *TRACE_LOG = "logit.log", *FAULT_LOG = "assert.log";

// The numbers among the keys of an account.
constexpr const char* ACCOUNT_NUMBERS[] = {
    "TimingCyclic", "Push",       "UpdateSuspended", "TrayCheck", "FastCheck",           "DownloadMailTexts",
    "DoSpamFilter", "DoSpamMove", "DoAltFolder",     "DoPopup",   "DoSpecialMailProgram"};
// Where the system keeps what people are called.
constexpr const char* USER_VARIABLES[] = {"USER", "LOGNAME", "USERNAME", "COMPUTERNAME"};
constexpr const char* FOLDER_VARIABLES[] = {"HOME",          "USERPROFILE",      "APPDATA", "XDG_CONFIG_HOME",
                                            "XDG_DATA_HOME", "TARNWICK_REGISTRY"};
constexpr const char* PROXY_LOGIN_VARIABLE = "VELMORAPROXYAUTH";

std::string Std(const STRING& text) {
    return std::string(text.View());
}

template <class CALL>
void ForLines(std::string_view text, CALL call) {
    while (!text.empty())
        if (const std::string_view line = ASCII::Trim(ASCII::Take(text, '\n'), " \t\r"); !line.empty())
            call(line);
}

// The lines of a list that say something: what begins as its heads do is a comment.
template <class CALL>
void ForEntries(const STRING& path, CALL call) {
    STRING text;
    if (FILES::ReadHead(path.Text(), LIST_BYTES, text))
        ForLines(text.View(), [&](std::string_view line) {
            if (line[0] != '#')
                call(line);
        });
}

int CountEntries(const STRING& path) {
    int count = 0;
    ForEntries(path, [&count](std::string_view) { ++count; });
    return count;
}

bool IsNumeric(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789.-") == text.npos;
}

void HideFolder(REDACTION& redaction, const STRING& path) {
    constexpr int ROOT_LENGTH = 4;  // "C:\x": what is shorter tells nothing
    if (path.Length() < ROOT_LENGTH)
        return;
    redaction.Hide(FILES::SystemPath(path.Text()).View(), REDACTION::DIRECTORY);
    redaction.Hide(FILES::NativePath(path.Text()).View(), REDACTION::DIRECTORY);
}

// "user:password", or the one of the two.
void HideLogin(REDACTION& redaction, std::string_view login) {
    redaction.Hide(login, REDACTION::LOGIN);
    redaction.Hide(ASCII::Take(login, ':'), REDACTION::USER);
    redaction.Hide(login, REDACTION::PASSWORD);
}

void HideAccount(REDACTION& redaction, const STRINGARRAY& item) {
    const MAILADDRESS address = MAILACCOUNT::Address(item);
    const STRING password = MAILACCOUNT::Password(item);
    redaction.Hide(item.Get("Name").View(), REDACTION::ACCOUNT);
    redaction.Hide(address.User.View(), REDACTION::USER);
    redaction.Hide(password.View(), REDACTION::PASSWORD);
    // As the simplest login by IMAP and SMTP sends the two.
    const std::string both = std::string(1, '\0') + Std(address.User) + std::string(1, '\0') + Std(password);
    redaction.Hide(both, REDACTION::LOGIN);
    redaction.HideServer(address.Server.View());
    for (const char* folder : {"SpamFolder", "AltFolder"})
        if (const STRING name = item.Get(folder); name != "spam")
            redaction.Hide(name.View(), REDACTION::NAME);
}

void HideSettings(REDACTION& redaction, const STRINGARRAY& state) {
    const auto value = [&state](const char* key) { return state.Get(key); };
    redaction.Hide(value("SpamSmtpUser").View(), REDACTION::USER);
    redaction.Hide(value("SpamSmtpPassword").View(), REDACTION::PASSWORD);
    redaction.Hide(value("SpamSmtpTo").View(), REDACTION::ADDRESS);
    redaction.HideServer(value("SpamSmtp").View());
    redaction.Hide(value("EntryToMonitor").View(), REDACTION::NAME);
    const STRING proxy = value("HttpProxy");
    std::string_view place = proxy.View();
    if (const size_t scheme = place.find("://"); scheme != place.npos)
        place.remove_prefix(scheme + 3);
    const size_t at = place.rfind('@');
    if (at != place.npos)
        HideLogin(redaction, place.substr(0, at));
    redaction.HideServer(place.substr(at + 1));
    if (const STRING login = OSYS::Environment(PROXY_LOGIN_VARIABLE); login.NotNull())
        HideLogin(redaction, login.View());
    ForLines(value("SpamMyEmail").View(), [&](std::string_view line) {
        redaction.Hide(line, line.find('@') == line.npos ? REDACTION::NAME : REDACTION::USER);
    });
}

// The texts that this user, and nobody else, is known by.
void HideAll(REDACTION& redaction, TARNWICK& application) {
    // Accounts come first, so that their numbers are those of the list.
    for (int i = 0; i < application.Items.Count(); ++i)
        HideAccount(redaction, application.Items[i]);
    const STRINGARRAY& state = application.pState;
    HideSettings(redaction, state);
    for (int i = 0; i < application.Types.Count(); ++i)
        redaction.Hide(application.Types[i].Get("Name").View(), REDACTION::NAME);
    for (const char* list : {"SpamMyFriends", "SpamBadSenders"})
        ForEntries(state.Get(list), [&](std::string_view line) {
            // Whole addresses are known by their looks; of very many, each would cost time.
            if (line.find('@', 1) == line.npos)
                redaction.Hide(line, REDACTION::NAME);
        });
    for (const char* name : USER_VARIABLES)
        if (const STRING value = OSYS::Environment(name); value.NotNull())
            redaction.Hide(value.View(), REDACTION::USER);
    redaction.Hide(OSYS::ComputerName().View(), REDACTION::SERVER);
    for (const char* name : FOLDER_VARIABLES)
        if (const STRING value = OSYS::Environment(name); value.NotNull())
            HideFolder(redaction, value);
    HideFolder(redaction, application.DataDir());
    HideFolder(redaction, OSYS::FileDirectory(OSYS::ProgramPath().Text()));
}

std::string KindOfDirectory(const STRING& directory, const ARGUMENTS& arguments) {
    if (arguments.TestArgValue("WORKDIR", 0))
        return "named at the start (/WORKDIR)";
    const STRING usual = OSYS::FilePath(GetWin32SystemPath(5).Text(), COMPANY);
    return directory.View().starts_with(usual.View()) ? "the usual one" : "another than the usual one";
}

std::string NameOfLanguage(int language) {
    if (language == LANGUAGE_GERMAN)
        return "German";
    return language == LANGUAGE_ENGLISH ? "English" : "English, for " + std::to_string(language);
}

std::string AboutProgram(const TARNWICK& application, const ARGUMENTS& arguments, REDACTION& redaction) {
    const STRING program = OSYS::ProgramPath();
    const std::string_view name = program.View().substr(program.View().find_last_of("\\/") + 1);
    return "Version: " + std::string(PROGRAM_VERSION) + PROGRAM_VERSION_SUFFIX + "\nBuild: " + BuildStamp() + ", " +
           std::to_string(8 * sizeof(void*)) + " bits, compiler " + __VERSION__ +
           "\nProgram: " + redaction.Clean(name) + "\nWritten: " + Std(OSYS::DateIso()) + " " + Std(OSYS::TimeIso()) +
           "\nSystem: " + Std(OSYS::SystemName()) + "\nLanguage: " + NameOfLanguage(LanguageFromArguments(arguments)) +
           "\nData directory: " + KindOfDirectory(application.DataDir(), arguments) + "\n";
}

std::string ShownServer(const STRING& server, REDACTION& redaction) {
    return server.Length() > 0 ? redaction.Clean(server.View()) : "none";
}

std::string AboutPassword(const STRINGARRAY& item) {
    const STRING sealed = STRING(MAILACCOUNT::PASSWORD_KEY) || SEALED_SUFFIX;
    if (MAILACCOUNT::IsPasswordLocked(item))
        return "sealed, and cannot be opened";
    if (MAILACCOUNT::Password(item).Length() == 0)
        return "none";
    return item.Exists(sealed.Text()) && item.Get(sealed.Text()).Length() > 0 ? "sealed" : "there";
}

std::string AboutAccount(int number, const STRINGARRAY& item, const TEXTS& texts, REDACTION& redaction) {
    const MAILADDRESS address = MAILACCOUNT::Address(item);
    const MAILBOXKIND& kind = MAILACCOUNT::Kind(item);
    const MAILSECURITY security = MAILACCOUNT::Security(item);
    const MAILCOUNTS counts = MAILACCOUNT::Counts(item);
    const std::string protection = security.Kind == SECURITY_TLS        ? "TLS"
                                   : security.Kind == SECURITY_STARTTLS ? "STARTTLS"
                                                                        : "not protected";
    std::string text =
        std::to_string(number) + ". " + redaction.Clean(item.Get("Name").View()) + ": " +
        (kind.Handler ? Std(texts.Part(TEXT_KINDS, kind.Name)) : "kind " + std::to_string(address.Type)) + ", server " +
        ShownServer(address.Server, redaction) + ", " + protection +
        (security.IsModern ? "" : ", login of earlier versions") +
        (security.TrustedCertificate.Length() > 0 ? ", certificate trusted by hand" : "") + "\n   user " +
        redaction.Clean(address.User.View()) + ", password " + AboutPassword(item) + "\n   ";
    for (const char* key : ACCOUNT_NUMBERS)
        if (const STRING value = item.Get(key); IsNumeric(value.View()))
            text += std::string(key) + "=" + Std(value) + " ";
    text += "\n   last check " + Std(item.Get("LastRefreshString")) + ": " + std::to_string(counts.Total) + " mails, " +
            std::to_string(counts.Unread) + (counts.UnreadKnown ? "" : "?") + " unread\n";
    if (counts.Failed)
        text += "   failed: " + redaction.Clean(PersonText(item.Get("LastValue"), item, texts).View()) + "\n";
    return text;
}

// Numbers alone are shown, and which of the others differ from what the program comes with.
std::string AboutSettings(const STRINGARRAY& state, REDACTION& redaction) {
    std::string text;
    for (const SETTING& setting : SETTINGS) {
        const STRING value = state.Get(setting.Key);
        const bool number = setting.Kind != SETTINGKIND::DATAFILE && IsNumeric(setting.Default);
        std::string shown;
        if (std::string_view(setting.Key) == "SpamSmtp")
            shown = ShownServer(value, redaction);
        else if (number && IsNumeric(value.View()))
            shown = Std(value);
        else if (value.Length() == 0)
            shown = "";
        else if (setting.Kind == SETTINGKIND::FIXED && value == setting.Default)
            shown = "<as shipped>";
        else
            shown = LEFT_OUT;
        text += std::string(setting.Key) + "=" + shown + "\n";
    }
    return text;
}

std::string AboutData(TARNWICK& application) {
    const STRINGARRAY& state = application.pState;
    const auto entries = [&state](const char* key) { return std::to_string(CountEntries(state.Get(key))); };
    int own = 0;
    ForLines(state.Get("SpamMyEmail").View(), [&own](std::string_view) { ++own; });
    const LEARNINGSTORE::COUNTS learned = application.Lessons().Mails();
    application.Trash().Recount();
    return "Own addresses and names: " + std::to_string(own) + "\nFriends: " + entries("SpamMyFriends") +
           "\nBad senders: " + entries("SpamBadSenders") + "\nSpam words: " + entries("SpamFilename") +
           "\nPoints changed: " + entries("SpamVarsFile") +
           "\nMail types: " + std::to_string(application.Types.Count()) +
           "\nLearned as good: " + std::to_string(learned.Good) + "\nLearned as spam: " + std::to_string(learned.Spam) +
           "\nCopies in the trash: " + std::to_string(application.Trash().Mails()) +
           "\nAssertions failed in this run: " + std::to_string(AssertCount()) + "\n";
}

std::string LastFault(REDACTION& redaction) {
    STRING log;
    if (!FILES::ReadTail(FILES::OwnFile(FAULT_LOG).Text(), FAULT_BYTES, log))
        return "";
    return ShownFault(log.View(), redaction);
}

std::string LastTrace(const TEXTS& texts, REDACTION& redaction) {
    // Without one of its own, the run tells of an earlier one.
    const STRING open = LogFile(), path = open.NotNull() ? open : FILES::OwnFile(TRACE_LOG);
    STRING log;
    if (!FILES::ReadTail(path.Text(), LOG_BYTES, log))
        return Std(texts.Get(TEXT_REPORT_NO_TRACE)) + "\n";
    std::string trace = ShownTrace(log.View(), redaction, TRACE_LINES);
    if (trace.size() > TRACE_BYTES)
        trace.erase(0, trace.find('\n', trace.size() - TRACE_BYTES) + 1);
    return (open.NotNull() ? "" : "(of " + Std(OSYS::FileTime(path.Text())) + " UTC)\n") + trace;
}

// What is no UTF-8 came from a server or a mail.
STRING Readable(const std::string& text) {
    std::string readable;
    for (std::string_view rest = text; !rest.empty();) {
        const char32_t character = UTF8::Take(rest);
        UTF8::Append(readable, character == UTF8::INVALID ? U'?' : character);
    }
    return STRING(std::string_view(readable));
}

}  // namespace

STRING REPORT::Make(TARNWICK& application, const ARGUMENTS& arguments) {
    const TEXTS& texts = application.Texts();
    REDACTION redaction;
    HideAll(redaction, application);
    std::string text = std::string(MARK) + "\n" + Std(texts.Get(TEXT_REPORT_INTRO)) + "\n";
    const auto section = [&](int part, const std::string& content) {
        text += "\n=== " + Std(texts.Part(TEXT_REPORT_SECTIONS, part)) + " ===\n" + (content.empty() ? "-\n" : content);
    };
    section(PART_REPORT_PROGRAM, AboutProgram(application, arguments, redaction));
    std::string accounts;
    for (int i = 0; i < application.Items.Count(); ++i)
        accounts += AboutAccount(i + 1, application.Items[i], texts, redaction);
    section(PART_REPORT_ACCOUNTS, accounts);
    section(PART_REPORT_SETTINGS, AboutSettings(application.pState, redaction));
    section(PART_REPORT_DATA, AboutData(application));
    section(PART_REPORT_FAULT, LastFault(redaction));
    section(PART_REPORT_TRACE, LastTrace(texts, redaction));
    return Readable(text);
}

STRING REPORT::Save(TARNWICK& application, const ARGUMENTS& arguments, const STRING& path) {
    const auto fault = [&](int id) {
        STRING text = application.Texts().Get(id);
        text.Replace("$FILE", FILES::NativePath(path.Text()).Text());
        return text;
    };
    STRING head;
    const bool exists = OSYS::FileExists(path.Text()) || OSYS::FileIsDirectory(path.Text());
    if (exists && !(FILES::ReadHead(path.Text(), static_cast<int>(MARK.size()), head) && head.View() == MARK))
        return fault(TEXT_REPORT_FOREIGN);
    return FILES::ReplaceAll(path.Text(), Make(application, arguments).View(), true) ? STRING()
                                                                                     : fault(TEXT_REPORT_FAILED);
}
